// The page of a run: reads it, and connects the picture, the table, the details and the filter.
import { Details } from './details';
import { element, make } from './dom';
import type { Found } from './filter';
import { find } from './filter';
import type { Content } from './list';
import { List } from './list';
import type { Target } from './picture';
import { Picture } from './picture';
import type { Layout } from './rows';
import { eventsTop, layOut, setFound } from './rows';
import type { Run } from './run';
import { callText, endOf, laneName, methodOf, readRun, valuesText } from './run';
import type { TimeForm } from './times';
import { Clock, spanText } from './times';

function counted(count: number, noun: string): string {
    return `${count} ${noun}${count === 1 ? '' : 's'}`;
}

class Page {
    private readonly clock: Clock;
    private readonly layout: Layout;
    private readonly details: Details;
    private readonly list = new List(element('list'));
    private readonly picture: Picture;
    private found: Found = { calls: new Uint8Array(), callCount: 0, events: [] };
    private foundCalls: number[] = [];

    constructor(private readonly run: Run) {
        this.clock = new Clock(run);
        this.layout = layOut(run);
        this.details = new Details(element('details'), run, this.clock);
        this.picture = new Picture(element('picture'), run, this.layout, this.clock, {
            onPick: (target) => this.pick(target),
            onHover: (target, x, y) => this.hover(target, x, y),
            onDrawn: () => this.tellDrawn(),
        });
    }

    begin(): void {
        this.writeHead();
        this.listen();
        this.look();
    }

    private writeHead(): void {
        const { about, calls, events, lanes, losses } = this.run;
        document.title = `${about.capture} - qxlt`;
        element('title').textContent = about.capture;
        const parts = [counted(calls.length, 'call'), counted(events.length, 'event'), counted(lanes.length, 'thread')];
        if (losses.length > 0) parts.push(counted(losses.length, 'gap'));
        const start = this.clock.startText();
        if (start !== undefined) parts.push(`began ${start}`);
        element('summary').textContent = parts.join(', ');
        element<HTMLOptionElement>('wall').disabled = !this.clock.knowsWall();
        element<HTMLInputElement>('show-calls').checked = events.length === 0;
    }

    private listen(): void {
        for (const id of ['method', 'event', 'value']) element(id).addEventListener('input', () => this.look());
        for (const id of ['show-events', 'show-calls']) element(id).addEventListener('change', () => this.fillList());
        element<HTMLSelectElement>('time').addEventListener('change', (event) => {
            this.clock.choose((event.target as HTMLSelectElement).value as TimeForm);
            this.picture.refresh();
            this.list.renew(this.content());
        });
        element('all').addEventListener('click', () => this.picture.zoomTo(this.run.begin, this.run.end));
        element('licences').addEventListener('click', () => element<HTMLDialogElement>('licence-texts').showModal());
        element('picture').addEventListener('keydown', (event) => this.onKey(event));
    }

    private onKey(event: KeyboardEvent): void {
        const actions: Record<string, () => void> = {
            ArrowLeft: () => this.picture.move(-0.2, 1),
            ArrowRight: () => this.picture.move(0.2, 1),
            ArrowUp: () => this.picture.scrollBy(-3),
            ArrowDown: () => this.picture.scrollBy(3),
            '+': () => this.picture.move(0, 0.5),
            '-': () => this.picture.move(0, 2),
            Home: () => this.picture.zoomTo(this.run.begin, this.run.end),
        };
        if (!(event.key in actions)) return;
        actions[event.key]();
        event.preventDefault();
    }

    // After the filter has changed.
    private look(): void {
        const text = (id: string) => element<HTMLInputElement>(id).value;
        this.found = find(this.run, { method: text('method'), event: text('event'), value: text('value') });
        this.foundCalls = [];
        this.found.calls.forEach((isFound, call) => isFound === 1 && this.foundCalls.push(call));
        setFound(this.layout, (call) => this.found.calls[call] === 1);
        this.picture.painter.setEvents(this.found.events);
        this.picture.refresh();
        element('found').textContent = `${counted(this.found.callCount, 'call')} and ${counted(this.found.events.length, 'event')} found`;
        this.fillList();
    }

    private fillList(): void {
        this.list.show(this.content());
    }

    private content(): Content {
        return element<HTMLInputElement>('show-calls').checked ? this.callContent() : this.eventContent();
    }

    private eventContent(): Content {
        const events = this.found.events;
        return {
            label: 'events',
            heads: ['time', 'event', 'value', 'call', 'thread'],
            count: events.length,
            cells: (row) => {
                const event = this.run.events[events[row]];
                const call = event.of === undefined ? '' : callText(this.run, this.run.calls[event.of]);
                return [this.clock.text(event.at, 1000), event.event, event.value, call, laneName(this.run.lanes[event.lane])];
            },
            jump: (row) => this.jump({ kind: 'event', index: events[row] }),
        };
    }

    private callContent(): Content {
        const calls = this.foundCalls;
        return {
            label: 'calls',
            heads: ['time', 'method', 'values', 'took', 'thread'],
            count: calls.length,
            cells: (row) => {
                const call = this.run.calls[calls[row]];
                const took = call.took === undefined ? '-' : spanText(call.took);
                const thread = laneName(this.run.lanes[call.lane]);
                return [this.clock.text(call.at, 1000), methodOf(this.run, call), valuesText(call), took, thread];
            },
            jump: (row) => this.jump({ kind: 'call', index: calls[row] }),
        };
    }

    // From the table to the place in the picture.
    private jump(target: Target): void {
        if (target.index === undefined) return;
        const event = target.kind === 'event' ? this.run.events[target.index] : undefined;
        const index = event === undefined ? target.index : event.of;
        const call = index === undefined ? undefined : this.run.calls[index];
        this.choose(target);
        if (call === undefined) return this.picture.show(event?.at ?? 0, event?.at ?? 0, eventsTop);
        const band = this.layout.bands.find(({ lane }) => lane === call.lane);
        this.picture.show(call.at, endOf(call), (band?.top ?? 0) + 1 + call.depth);
    }

    // From the picture to the row of the table, where it has one.
    private pick(target: Target): void {
        this.choose(target);
        const showsCalls = element<HTMLInputElement>('show-calls').checked;
        if (showsCalls !== (target.kind === 'call')) return;
        const row = (showsCalls ? this.foundCalls : this.found.events).indexOf(target.index);
        if (row >= 0) this.list.select(row);
    }

    private choose(target: Target): void {
        const call = target.kind === 'event' ? this.run.events[target.index].of : target.index;
        this.picture.painter.choose(target.kind === 'loss' || call === undefined ? -1 : call);
        this.picture.refresh();
        this.details.show(target);
    }

    private hover(target: Target | undefined, x: number, y: number): void {
        const tip = element('tip');
        tip.hidden = target === undefined;
        if (target === undefined) return;
        tip.replaceChildren(make('span', this.tipText(target)));
        tip.style.left = `${Math.min(x + 14, element('picture').clientWidth - 260)}px`;
        tip.style.top = `${y + 16}px`;
    }

    private tipText({ kind, index }: Target): string {
        if (kind === 'loss') return `lost: ${this.run.losses[index].lost}`;
        if (kind === 'event') return `${this.run.events[index].event}: ${this.run.events[index].value}`;
        const call = this.run.calls[index];
        return callText(this.run, call) + (call.took === undefined ? '' : `, ${spanText(call.took)}`);
    }

    // For those who do not see the picture.
    private tellDrawn(): void {
        const { lanes, pieces, marks, gaps } = this.picture.painter.drawn();
        const [from, to] = this.picture.window();
        const span = `from ${this.clock.text(from, 1000)} to ${this.clock.text(to, 1000)}`;
        const text = `${counted(lanes, 'lane')} with ${counted(pieces, 'bar')}, ${counted(marks, 'mark')} of events, ${counted(gaps, 'gap')}; ${span}`;
        element('picture').setAttribute('aria-label', text);
        element('page').setAttribute('aria-busy', 'false');
    }
}

new Page(readRun(element('run').textContent ?? '[]')).begin();
