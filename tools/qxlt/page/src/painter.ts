// Draws what is visible of the lanes, as shapes of the chart library.
import { graphic } from 'echarts/core';
import type { Band, Layout, Piece, Row } from './rows';
import { eventsTop, heightOf, piecesOf } from './rows';
import type { Loss, Run } from './run';
import { endOf, methodOf } from './run';

// Where times and rows lie on the canvas.
export interface View {
    area: { x: number; y: number; width: number; height: number };
    origin: { x: number; y: number; time: number }; // the first time and the first row
    perTime: number; // pixels
    perRow: number;
}

export interface Drawn {
    lanes: number;
    pieces: number; // of calls
    marks: number; // of events
    gaps: number;
}

type Shape = { type: string; [key: string]: unknown };

const boxesOfShape = 32;
const leastPixels = 3; // what is narrower is drawn together
const letterPixels = 6.1; // of the font below
const font = '10px ui-monospace, "DejaVu Sans Mono", monospace';
const fills = ['#8ecae6', '#b7e4c7', '#ffd6a5', '#cdb4db', '#f4acb7', '#bde0fe', '#e9d8a6', '#a8dadc'];
const manyFill = '#7d8fa9';
const palest = '#eceff1';
const paleInk = '#90a4ae';
const ink = '#1d2733';
const chosenInk = '#d00000';
const markFill = '#c1121f';
const gapFill = 'rgba(214, 40, 40, 0.14)';
const laneFill = '#f3f5f7';

// Boxes as one shape: thousands of shapes are drawn slowly, and so are shapes of thousands of boxes.
interface Boxes {
    boxes: number[]; // of each: x, y, width, height
}
graphic.registerShape(
    'boxes',
    graphic.extendShape({
        shape: { boxes: [] },
        buildPath(path, shape) {
            const { boxes } = shape as Boxes;
            for (let i = 0; i < boxes.length; i += 4) path.rect(boxes[i], boxes[i + 1], boxes[i + 2], boxes[i + 3]);
        },
    }),
);

export class Painter {
    private drawnNow: Drawn = { lanes: 0, pieces: 0, marks: 0, gaps: 0 };
    private shown = new Set<number>(); // events that are looked for
    private chosenCall = -1;
    private readonly gaps = new Set<Loss>(); // that are drawn

    constructor(
        private readonly run: Run,
        private readonly layout: Layout,
    ) {}

    setEvents(events: number[]): void {
        this.shown = new Set(events);
    }

    isShown(event: number): boolean {
        return this.shown.has(event);
    }

    choose(call: number): void {
        this.chosenCall = call;
    }

    drawn(): Drawn {
        return this.drawnNow;
    }

    paint(view: View): Shape {
        this.drawnNow = { lanes: 0, pieces: 0, marks: 0, gaps: 0 };
        this.gaps.clear();
        const rects: Shape[] = [];
        const texts: Shape[] = [];
        for (const band of this.layout.bands) this.paintBand(view, band, rects, texts);
        this.paintEvents(view, rects, texts);
        this.drawnNow.gaps = this.gaps.size;
        return { type: 'group', silent: true, children: [...rects, ...texts] };
    }

    private paintBand(view: View, band: Band, rects: Shape[], texts: Shape[]): void {
        const top = yOf(view, band.top);
        const height = heightOf(band) * view.perRow;
        if (top > view.area.y + view.area.height || top + height < view.area.y) return;
        ++this.drawnNow.lanes;
        paintName(view, band.top, band.name, rects, texts);
        this.paintGaps(view, band, height, rects, texts);
        band.rows.forEach((row, depth) => this.paintRow(view, row, band.top + 1 + depth, rects, texts));
        this.paintChosen(view, band, texts);
    }

    private paintRow(view: View, row: Row, at: number, rects: Shape[], texts: Shape[]): void {
        const y = yOf(view, at);
        const { area } = view;
        if (y > area.y + area.height || y + view.perRow < area.y) return;
        const pieces = piecesOf(row, timeOf(view, area.x), timeOf(view, area.x + area.width), leastPixels / view.perTime);
        const byFill = new Map<string, number[]>();
        for (const piece of pieces) {
            const box = clipped(view, piece.begin, piece.end, y);
            pushTo(byFill, this.fillOf(row, piece), box);
            pushText(texts, this.nameOf(row, piece), box, piece.isFound ? ink : paleInk);
        }
        for (const [fill, boxes] of byFill) pushBoxes(rects, fill, boxes);
        this.drawnNow.pieces += pieces.length;
    }

    private nameOf(row: Row, piece: Piece): string {
        return piece.count > 1 ? `${piece.count} calls` : methodOf(this.run, this.run.calls[row.calls[piece.first]]);
    }

    private fillOf(row: Row, piece: Piece): string {
        if (!piece.isFound) return palest;
        return piece.count > 1 ? manyFill : fills[this.run.calls[row.calls[piece.first]].call % fills.length];
    }

    private paintChosen(view: View, band: Band, texts: Shape[]): void {
        const call = this.run.calls[this.chosenCall];
        if (call === undefined || call.lane !== band.lane) return;
        const box = clipped(view, call.at, endOf(call), yOf(view, band.top + 1 + call.depth));
        if (box.x > view.area.x + view.area.width || box.x + box.width < view.area.x) return;
        texts.push({ type: 'rect', shape: box, style: { fill: 'none', stroke: chosenInk, lineWidth: 2 }, silent: true });
    }

    private paintGaps(view: View, band: Band, height: number, rects: Shape[], texts: Shape[]): void {
        const { process, pid } = this.run.lanes[band.lane];
        for (const loss of this.run.losses) {
            if (loss.process !== process || loss.pid !== pid || !isVisible(view, loss)) continue;
            const box = clipped(view, loss.at, loss.at + (loss.lasts ?? 0), yOf(view, band.top));
            const shape = { ...box, width: Math.max(box.width, 3), height };
            rects.push({ type: 'rect', shape, style: { fill: gapFill, stroke: markFill, lineDash: [3, 3] }, silent: true });
            pushText(texts, 'lost', besideName(view, box, band.name), markFill);
            this.gaps.add(loss);
        }
    }

    // Events that lie too near to each other share a mark.
    private paintEvents(view: View, rects: Shape[], texts: Shape[]): void {
        paintName(view, eventsTop, 'events', rects, texts);
        const y = yOf(view, eventsTop + 1);
        const marks = this.visibleMarks(view);
        marks.forEach(({ x, name }, place) => {
            const points = [[x, y + 1], [x + 4, y + 8], [x, y + 15], [x - 4, y + 8]];
            rects.push({ type: 'polygon', shape: { points }, style: { fill: markFill }, silent: true });
            const room = (marks[place + 1]?.x ?? view.area.x + view.area.width) - x - 12;
            pushText(texts, name, { x: x + 5, y, width: room, height: 16 }, ink);
        });
        this.drawnNow.marks = marks.length;
    }

    private visibleMarks(view: View): Mark[] {
        const marks: Mark[] = [];
        this.run.events.forEach((event, index) => {
            const x = xOf(view, event.at);
            if (!this.shown.has(index) || x < view.area.x || x > view.area.x + view.area.width) return;
            const last = marks[marks.length - 1];
            if (last === undefined || x - last.x >= leastPixels * 2) marks.push({ x, name: event.event, count: 1 });
            else last.name = `${++last.count} events`;
        });
        return marks;
    }
}

interface Mark {
    x: number;
    name: string;
    count: number;
}

interface Box {
    x: number;
    y: number;
    width: number;
    height: number;
}

function xOf(view: View, time: number): number {
    return view.origin.x + (time - view.origin.time) * view.perTime;
}

function yOf(view: View, row: number): number {
    return view.origin.y + row * view.perRow;
}

function timeOf(view: View, x: number): number {
    return view.origin.time + (x - view.origin.x) / view.perTime;
}

// No more of it than is visible: shapes that reach far beyond the canvas are drawn slowly.
function clipped(view: View, begin: number, end: number, y: number): Box {
    const left = Math.max(xOf(view, begin), view.area.x - 2);
    const right = Math.min(xOf(view, end), view.area.x + view.area.width + 2);
    return { x: left, y: y + 1, width: Math.max(right - left - (right - left > 3 ? 0.5 : 0), 1), height: view.perRow - 2 };
}

function isVisible(view: View, loss: Loss): boolean {
    return xOf(view, loss.at + (loss.lasts ?? 0)) >= view.area.x - 3 && xOf(view, loss.at) <= view.area.x + view.area.width;
}

// The part of a box in the line of the lane's name that the name leaves.
function besideName(view: View, box: Box, name: string): Box {
    const x = Math.max(box.x, view.area.x + (name.length + 3) * letterPixels);
    return { ...box, x, width: box.x + box.width - x };
}

function pushTo(boxes: Map<string, number[]>, fill: string, { x, y, width, height }: Box): void {
    const list = boxes.get(fill);
    if (list === undefined) boxes.set(fill, [x, y, width, height]);
    else list.push(x, y, width, height);
}

function pushBoxes(shapes: Shape[], fill: string, boxes: number[]): void {
    for (let i = 0; i < boxes.length; i += boxesOfShape * 4) {
        const shape = { boxes: boxes.slice(i, i + boxesOfShape * 4) };
        shapes.push({ type: 'boxes', shape, style: { fill }, silent: true });
    }
}

function paintName(view: View, row: number, name: string, rects: Shape[], texts: Shape[]): void {
    const shape = { x: view.area.x, y: yOf(view, row) + 1, width: view.area.width, height: view.perRow - 2 };
    rects.push({ type: 'rect', shape, style: { fill: laneFill }, silent: true });
    texts.push({ type: 'text', silent: true, style: { text: name, x: shape.x + 4, y: shape.y + 2, fill: ink, font: `bold ${font}` } });
}

function pushText(texts: Shape[], text: string, box: Box, fill: string): void {
    const letters = Math.floor((box.width - 6) / letterPixels);
    if (letters < 3) return;
    const fitting = text.length <= letters ? text : `${text.slice(0, letters - 1)}…`;
    texts.push({ type: 'text', silent: true, style: { text: fitting, x: box.x + 3, y: box.y + 2, fill, font } });
}
