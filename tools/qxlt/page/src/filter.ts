// Which calls and events are looked for.
import type { Call, Fired, Run } from './run';

export interface Wanted {
    method: string;
    event: string;
    value: string;
}

export interface Found {
    calls: Uint8Array; // 1: it is looked for
    callCount: number;
    events: number[];
}

function has(text: string, part: string): boolean {
    return part === '' || text.toLowerCase().includes(part);
}

function hasValue(call: Call, part: string): boolean {
    if (part === '') return true;
    const result = call.ret === undefined ? [] : [call.ret ?? 'no result'];
    return [...call.in, ...(call.out ?? []), ...result].some((value) => has(value, part));
}

// Parts of names and values, in any case. An event is looked for by its name, by its value or those of its call, and by
// its call's method; a call by its method and its values or, where an event is named, if it raised one that is found.
export function find(run: Run, given: Wanted): Found {
    const wanted = lowered(given);
    const methods = run.methods.map(({ method }) => has(method, wanted.method));
    const fits = (call: Call) => methods[call.call] && hasValue(call, wanted.value);
    const events: number[] = [];
    const calls = new Uint8Array(run.calls.length);
    run.events.forEach((event, index) => {
        if (!has(event.event, wanted.event) || !fitsEvent(run, event, wanted, methods)) return;
        events.push(index);
        if (event.of !== undefined && wanted.event !== '') calls[event.of] = 1;
    });
    if (wanted.event === '') run.calls.forEach((call, index) => (calls[index] = fits(call) ? 1 : 0));
    return { calls, callCount: calls.reduce((sum, one) => sum + one, 0), events };
}

function lowered(wanted: Wanted): Wanted {
    const low = (text: string) => text.toLowerCase();
    return { method: low(wanted.method), event: low(wanted.event), value: low(wanted.value) };
}

function fitsEvent(run: Run, event: Fired, wanted: Wanted, methods: boolean[]): boolean {
    const call = event.of === undefined ? undefined : run.calls[event.of];
    if (call === undefined) return wanted.method === '' && has(event.value, wanted.value);
    return methods[call.call] && (has(event.value, wanted.value) || hasValue(call, wanted.value));
}
