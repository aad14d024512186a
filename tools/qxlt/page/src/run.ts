// What the page shows: the run that stands in it as a list in JSON, one object for each thing, in the order of their
// times.

// Times are nanoseconds since `base`, a time of the recordings' clock that is too large for a number of this language.
export interface About {
    capture: string;
    start?: string; // when the run began
    clock?: string; // what is to be added to a time to get nanoseconds since 1970 (UTC)
}

export interface Base {
    base: string;
}

export interface Lane {
    thread: string; // its name; empty: it has none
    process: string;
    pid: number;
    tid: number;
}

export interface Method {
    method: string;
    source: string;
}

export interface Call {
    call: number; // of which method
    lane: number;
    at: number;
    took?: number; // nothing: it has no exit
    drawn?: number; // as far as it nests; nothing: as long as it took
    depth: number;
    in: string[];
    out?: string[];
    ret?: string | null; // null: the call ended without the result that it has otherwise
}

export interface Fired {
    event: string;
    value: string;
    lane: number;
    at: number;
    cycle: number;
    of?: number; // which call
    why: string;
}

export interface Loss {
    lost: string; // what, in words
    process: string;
    pid: number;
    at: number;
    lasts?: number; // until the next call of the process came; nothing: none did in that cycle
    cycle: number;
}

export interface Run {
    about: About;
    base: string;
    lanes: Lane[];
    methods: Method[];
    calls: Call[];
    events: Fired[];
    losses: Loss[];
    begin: number;
    end: number;
}

type Item = Base | Lane | Method | Call | Fired | Loss;

export function endOf(call: Call): number {
    return call.at + (call.drawn ?? call.took ?? 0);
}

function add(run: Run, record: Item): void {
    if ('call' in record) run.calls.push(record);
    else if ('event' in record) run.events.push(record);
    else if ('lost' in record) run.losses.push(record);
    else if ('method' in record) run.methods.push(record);
    else if ('thread' in record) run.lanes.push(record);
    else run.base = record.base;
}

// A picture of nothing, or of a moment, has a width all the same.
function setBounds(run: Run): void {
    const items = [...run.events, ...run.losses].map((item) => item.at);
    let begin = Infinity;
    let end = -Infinity;
    for (const at of items) {
        begin = Math.min(begin, at);
        end = Math.max(end, at);
    }
    for (const call of run.calls) {
        begin = Math.min(begin, call.at);
        end = Math.max(end, endOf(call));
    }
    run.begin = Number.isFinite(begin) ? begin : 0;
    run.end = Math.max(Number.isFinite(end) ? end : 0, run.begin + 1000);
}

export function readRun(text: string): Run {
    const [about, ...records] = JSON.parse(text) as [About, ...Item[]];
    const run: Run = { about, base: '0', lanes: [], methods: [], calls: [], events: [], losses: [], begin: 0, end: 0 };
    for (const record of records) add(run, record);
    setBounds(run);
    return run;
}

export function laneName(lane: Lane): string {
    const thread = lane.thread === '' ? `thread ${lane.tid}` : lane.thread;
    return `${lane.process}[${lane.pid}] ${thread}`;
}

export function methodOf(run: Run, call: Call): string {
    return run.methods[call.call].method;
}

// "SetVolume(85) out (9) = 1", as in the lines of the tool.
export function valuesText(call: Call): string {
    const out = call.out === undefined ? '' : ` out (${call.out.join(', ')})`;
    const ret = call.ret === undefined ? '' : ` = ${call.ret ?? 'no result'}`;
    return `(${call.in.join(', ')})${out}${ret}`;
}

export function callText(run: Run, call: Call): string {
    return methodOf(run, call) + valuesText(call);
}
