// Times and durations as texts, in the forms that the tool's own lines have.
import type { Run } from './run';

export type TimeForm = 'relative' | 'wall' | 'raw';

const secondNs = 1_000_000_000;

// "12 ns", "4.5 us", "17.3 ms", "2.1 s".
export function spanText(ns: number): string {
    const units: [number, string][] = [[secondNs, 's'], [1_000_000, 'ms'], [1000, 'us']];
    for (const [size, name] of units) {
        const tenths = Math.floor(ns / (size / 10));
        if (ns >= size) return `${Math.floor(tenths / 10)}.${tenths % 10} ${name}`;
    }
    return `${ns} ns`;
}

export class Clock {
    private readonly base: bigint;
    private readonly start: bigint;
    private readonly offset: bigint | undefined;
    private chosen: TimeForm = 'relative';

    // Where the run's begin is not known times count from the first thing that is shown.
    constructor({ about, base, begin }: Run) {
        this.base = BigInt(base);
        this.start = about.start === undefined ? this.base + BigInt(Math.round(begin)) : BigInt(about.start);
        this.offset = about.clock === undefined ? undefined : BigInt(about.clock);
    }

    knowsWall(): boolean {
        return this.offset !== undefined && this.wallOf(this.start) !== undefined;
    }

    choose(form: TimeForm): void {
        this.chosen = form;
    }

    // With all digits, or with as many as tell apart what lies `step` nanoseconds apart.
    text(at: number, step = 1): string {
        const time = this.base + BigInt(Math.round(at));
        if (this.chosen === 'raw') return time.toString();
        const wall = this.chosen === 'wall' ? this.wallOf(time) : undefined;
        return wall === undefined ? Clock.seconds(time - this.start, digitsFor(step)) : wall.text(digitsFor(step));
    }

    // For an axis: without the day.
    label(at: number, step: number): string {
        const text = this.text(at, step);
        return this.chosen === 'wall' ? text.replace(/^.*T/, '').replace('Z', '') : text;
    }

    startText(): string | undefined {
        return this.wallOf(this.start)?.text(9);
    }

    private static seconds(ns: bigint, digits: number): string {
        const size = ns < 0n ? -ns : ns;
        const second = BigInt(secondNs);
        const fraction = (size % second).toString().padStart(9, '0').slice(0, digits);
        return `${ns < 0n ? '-' : ''}${size / second}${digits > 0 ? '.' : ''}${fraction}`;
    }

    // Nothing for what no calendar has.
    private wallOf(time: bigint): { text(digits: number): string } | undefined {
        const million = 1_000_000n;
        const ns = this.offset === undefined ? -1n : time + this.offset;
        if (ns < 0n || ns / million > 8_640_000_000_000_000n) return undefined;
        const day = new Date(Number(ns / million)).toISOString().slice(0, 19);
        const fraction = (ns % BigInt(secondNs)).toString().padStart(9, '0');
        return { text: (digits) => `${day}${digits > 0 ? '.' : ''}${fraction.slice(0, digits)}Z` };
    }
}

function digitsFor(step: number): number {
    return Math.min(9, Math.max(0, Math.ceil(9 - Math.log10(Math.max(step, 1)))));
}
