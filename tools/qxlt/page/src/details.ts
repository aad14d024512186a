// What is known of the call, the event or the gap that was picked.
import { make } from './dom';
import type { Target } from './picture';
import type { Call, Fired, Loss, Run } from './run';
import { laneName, methodOf } from './run';
import type { Clock } from './times';
import { spanText } from './times';

type Facts = [string, string][];

export class Details {
    constructor(
        private readonly place: HTMLElement,
        private readonly run: Run,
        private readonly clock: Clock,
    ) {}

    show(target: Target): void {
        if (target.kind === 'event') this.showEvent(this.run.events[target.index]);
        else if (target.kind === 'call') this.showCall(this.run.calls[target.index]);
        else this.showLoss(this.run.losses[target.index]);
    }

    private showCall(call: Call): void {
        this.fill(methodOf(this.run, call), this.callFacts(call));
    }

    private showEvent(event: Fired): void {
        const facts: Facts = [['value', event.value], ['why', event.why], ['cycle', `${event.cycle}`]];
        if (event.of === undefined) facts.push(['time', this.clock.text(event.at)]);
        const call = event.of === undefined ? undefined : this.run.calls[event.of];
        if (call !== undefined) facts.push(['call', methodOf(this.run, call)], ...this.callFacts(call));
        const others = this.run.events.filter((other) => other !== event && other.of !== undefined && other.of === event.of);
        if (others.length > 0) facts.push(['raised also', others.map((other) => other.event).join(', ')]);
        this.fill(event.event, facts);
    }

    private showLoss(loss: Loss): void {
        const until = loss.lasts === undefined ? 'not known' : this.clock.text(loss.at + loss.lasts);
        const facts: Facts = [['lost', loss.lost], ['process', `${loss.process}[${loss.pid}]`]];
        facts.push(['from', this.clock.text(loss.at)], ['until', until], ['cycle', `${loss.cycle}`]);
        this.fill('lost calls', facts);
    }

    private callFacts(call: Call): Facts {
        const facts: Facts = [];
        call.in.forEach((value, index) => facts.push([`in ${index}`, value]));
        call.out?.forEach((value, index) => facts.push([`out ${index}`, value]));
        if (call.ret !== undefined) facts.push(['result', call.ret ?? 'no result']);
        facts.push(['duration', call.took === undefined ? 'not known' : spanText(call.took)]);
        facts.push(['time', this.clock.text(call.at)], ['thread', laneName(this.run.lanes[call.lane])]);
        facts.push(['source', this.run.methods[call.call].source]);
        return facts;
    }

    private fill(title: string, facts: Facts): void {
        const list = make('dl');
        for (const [name, value] of facts) list.append(make('dt', name), make('dd', value));
        this.place.replaceChildren(make('h2', title), list);
    }
}
