// Where everything stands: the rows of the picture from top to bottom, and what of a row can be told apart at a zoom.
import type { Call, Run } from './run';
import { endOf, laneName } from './run';

// The calls of one thread that are in as many others. They come one after the other.
export interface Row {
    begin: Float64Array;
    end: Float64Array;
    calls: Int32Array; // which, in the order of their times
    found: Uint32Array; // how many of those before each place match the filter; one more than there are calls
}

// A thread: a line with its name, and its rows below.
export interface Band {
    name: string;
    lane: number;
    top: number;
    rows: Row[];
}

export interface Layout {
    bands: Band[];
    height: number; // in rows
}

// What is drawn as one piece: a call, or several that are too narrow to be told apart.
export interface Piece {
    begin: number;
    end: number;
    first: number; // its place in the row
    count: number;
    isFound: boolean;
    isNarrow: boolean; // no call in it is wide enough to stand for itself
}

export const eventsTop = 0;
export const eventsHeight = 2; // its name, and the marks

function rowOf(calls: Call[], order: number[]): Row {
    const row: Row = {
        begin: new Float64Array(order.length),
        end: new Float64Array(order.length),
        calls: Int32Array.from(order),
        found: new Uint32Array(order.length + 1),
    };
    order.forEach((index, place) => {
        const call = calls[index];
        row.begin[place] = call.at;
        row.end[place] = endOf(call);
    });
    return row;
}

// By lane, by depth: the numbers of the calls. Those that came late stand behind what began after them.
function sortOut(run: Run): number[][][] {
    const lanes: number[][][] = run.lanes.map(() => []);
    run.calls.forEach((call, index) => {
        const depths = lanes[call.lane];
        while (depths.length <= call.depth) depths.push([]);
        depths[call.depth].push(index);
    });
    for (const order of lanes.flat()) {
        order.sort((left, right) => run.calls[left].at - run.calls[right].at || left - right);
    }
    return lanes;
}

function inOrder(run: Run): number[] {
    const key = (lane: number) => run.lanes[lane];
    return run.lanes
        .map((_, lane) => lane)
        .sort((a, b) => key(a).process.localeCompare(key(b).process) || key(a).pid - key(b).pid || key(a).tid - key(b).tid);
}

export function layOut(run: Run): Layout {
    const sorted = sortOut(run);
    let top = eventsTop + eventsHeight;
    const bands: Band[] = [];
    for (const lane of inOrder(run)) {
        const rows = sorted[lane].map((order) => rowOf(run.calls, order));
        bands.push({ name: laneName(run.lanes[lane]), lane, top, rows });
        top += heightOf({ rows });
    }
    return { bands, height: top };
}

// How high a thread is: its name, and at least one row.
export function heightOf(band: { rows: Row[] }): number {
    return 1 + Math.max(band.rows.length, 1);
}

export function bandAt(layout: Layout, row: number): Band | undefined {
    return layout.bands.find((band) => row >= band.top && row < band.top + heightOf(band));
}

// How many of the numbers, which rise, are less.
export function countBelow(numbers: Float64Array, limit: number): number {
    let low = 0;
    let high = numbers.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (numbers[middle] < limit) low = middle + 1;
        else high = middle;
    }
    return low;
}

export function setFound(layout: Layout, isFound: (call: number) => boolean): void {
    for (const row of layout.bands.flatMap((band) => band.rows)) {
        row.calls.forEach((call, place) => {
            row.found[place + 1] = row.found[place] + (isFound(call) ? 1 : 0);
        });
    }
}

// The pieces between two times. What is narrower than `least`, a time as well, goes together with what lies as near:
// however many calls there are, no more pieces come out than there is room for.
export function piecesOf(row: Row, from: number, to: number, least: number): Piece[] {
    const pieces: Piece[] = [];
    let place = Math.max(0, countBelow(row.begin, from) - 1);
    while (place < row.begin.length && row.begin[place] <= to) {
        const next = pieceAt(row, place, least);
        place += next.count;
        if (next.end >= from && !joins(pieces[pieces.length - 1], next, least)) pieces.push(next);
    }
    return pieces;
}

// Lets the piece before grow by the next one where neither can be told from what is around it.
function joins(last: Piece | undefined, next: Piece, least: number): boolean {
    if (last === undefined || !last.isNarrow || !next.isNarrow) return false;
    if (last.isFound !== next.isFound || next.begin - last.end >= least) return false;
    last.end = next.end;
    last.count += next.count;
    return true;
}

// A call that is wide enough stands for itself, also right behind one that is not.
function pieceAt(row: Row, first: number, least: number): Piece {
    const begin = row.begin[first];
    const isNarrow = (place: number) => row.end[place] - row.begin[place] < least;
    let behind = first + 1;
    if (isNarrow(first)) behind = Math.max(behind, countBelow(row.begin, begin + least));
    if (behind - first > 1 && !isNarrow(behind - 1)) --behind;
    const end = Math.max(row.end[behind - 1], begin + least);
    const isFound = row.found[behind] > row.found[first];
    return { begin, end, first, count: behind - first, isFound, isNarrow: isNarrow(first) };
}

// The call of the row at that time, or nearest to it and no further than `reach`; -1: there is none.
export function callAt(row: Row, time: number, reach: number): number {
    const next = countBelow(row.begin, time);
    const before = next - 1;
    if (before >= 0 && time <= row.end[before]) return row.calls[before];
    const distance = (place: number) =>
        place < 0 || place >= row.calls.length ? Infinity : Math.max(row.begin[place] - time, time - row.end[place]);
    const nearest = distance(before) <= distance(next) ? before : next;
    return distance(nearest) <= reach ? row.calls[nearest] : -1;
}
