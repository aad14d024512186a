// The picture: lanes of calls that nest, marks for events, and gaps. The chart library gives axes, zoom, pan and the
// overview; what lies at a place is worked out here.
import { CustomChart, LineChart } from 'echarts/charts';
import { DataZoomComponent, GridComponent } from 'echarts/components';
import type { ECharts, EChartsCoreOption } from 'echarts/core';
import { init, use } from 'echarts/core';
import type { CustomSeriesRenderItemAPI, CustomSeriesRenderItemParams } from 'echarts/types/dist/shared';
import { CanvasRenderer } from 'echarts/renderers';
import { Painter } from './painter';
import type { Layout } from './rows';
import { bandAt, callAt, eventsHeight, eventsTop } from './rows';
import type { Run } from './run';
import type { Clock } from './times';

use([CanvasRenderer, CustomChart, DataZoomComponent, GridComponent, LineChart]);

// What lies at a place: the number of a call, an event or a loss.
export type Target = { kind: 'call' | 'event' | 'loss'; index: number };

export interface Listener {
    onPick(target: Target): void;
    onHover(target: Target | undefined, x: number, y: number): void;
    onDrawn(): void;
}

const rowPixels = 18;
const reachPixels = 5; // how far beside a thing a click still means it
const sides = { left: 46, right: 48, top: 26, bottom: 62 };
const overviewPoints = 400;
const showParts = 20; // of the width is one what is shown

export class Picture {
    readonly painter: Painter;
    private readonly chart: ECharts;

    constructor(
        private readonly element: HTMLElement,
        private readonly run: Run,
        private readonly layout: Layout,
        private readonly clock: Clock,
        private readonly listener: Listener,
    ) {
        this.painter = new Painter(run, layout);
        this.chart = init(element, null, { renderer: 'canvas' });
        this.chart.setOption(this.options());
        this.listen();
        new ResizeObserver(() => this.resize()).observe(element);
    }

    // Draws anew after the filter, the choice or the form of times has changed.
    refresh(): void {
        this.chart.setOption({ xAxis: this.timeAxis(), series: [this.lanesSeries()] });
    }

    // Brings what happened between two times into view, wide enough to be seen and with room on both sides, and its row
    // as well.
    show(begin: number, end: number, row: number): void {
        const [from, to] = this.window();
        const length = Math.max(end - begin, 1);
        const isSeen = begin >= from && end <= to && length * showParts * 5 > to - from;
        if (!isSeen) this.zoomTo(begin - (length * (showParts - 1)) / 2, begin + (length * (showParts + 1)) / 2);
        this.scrollTo(row);
    }

    zoomTo(from: number, to: number): void {
        this.chart.dispatchAction({ type: 'dataZoom', dataZoomIndex: [0, 1], startValue: from, endValue: to });
    }

    // The times at the two edges.
    window(): [number, number] {
        const at = (x: number) => this.chart.convertFromPixel({ xAxisIndex: 0 }, x) as unknown as number;
        return [at(sides.left), at(this.chart.getWidth() - sides.right)];
    }

    // By the parts of the window's width that it moves to the right and grows.
    move(shift: number, growth: number): void {
        const [from, to] = this.window();
        const width = Math.min((to - from) * growth, this.run.end - this.run.begin);
        const middle = (from + to) / 2 + shift * (to - from);
        const low = Math.min(Math.max(middle - width / 2, this.run.begin), this.run.end - width);
        this.zoomTo(low, low + width);
    }

    scrollBy(rows: number): void {
        const [top, bottom] = this.rowWindow();
        this.scrollRows(top + rows, bottom - top);
    }

    private options(): EChartsCoreOption {
        return {
            animation: false,
            grid: { ...sides, outerBoundsMode: 'none' },
            xAxis: this.timeAxis(),
            yAxis: [
                this.rowAxis(),
                { type: 'value', show: false },
            ],
            dataZoom: this.zooms(),
            series: [this.lanesSeries(), this.densitySeries()],
        };
    }

    private timeAxis(): object {
        return {
            type: 'value',
            position: 'top',
            min: this.run.begin,
            max: this.run.end,
            splitNumber: 6,
            splitLine: { lineStyle: { color: '#eee' } },
            axisLabel: { hideOverlap: true, alignMinLabel: 'left', alignMaxLabel: 'right', formatter: (at: number) => this.axisText(at) },
        };
    }

    private axisText(at: number): string {
        const [from, to] = this.window();
        return this.clock.label(at, (to - from) / 100);
    }

    // As long as the picture is high: a few rows do not fill it.
    private rowAxis(): object {
        return { type: 'value', min: 0, max: this.rowCount(), inverse: true, show: false };
    }

    private zooms(): object[] {
        const rows = { startValue: 0, endValue: this.rowsInView(), zoomLock: true, yAxisIndex: 0, filterMode: 'none' };
        const times = { xAxisIndex: 0, filterMode: 'none', minValueSpan: 20 };
        const label = (at: number) => this.clock.label(at, (this.run.end - this.run.begin) / 1000);
        return [
            { ...times, type: 'slider', bottom: 8, height: 36, labelFormatter: label, brushSelect: false, realtime: true },
            { ...times, type: 'inside', zoomOnMouseWheel: true, moveOnMouseMove: true },
            { ...rows, type: 'slider', right: 4, width: 14, showDetail: false, brushSelect: false },
            { ...rows, type: 'inside', zoomOnMouseWheel: false, moveOnMouseWheel: 'shift', moveOnMouseMove: true },
        ];
    }

    // One item draws all: what can be told apart at the zoom is less than what there is.
    private lanesSeries(): object {
        return {
            id: 'lanes',
            type: 'custom',
            silent: true,
            clip: true,
            data: [[this.run.begin, 0]],
            renderItem: (params: CustomSeriesRenderItemParams, api: CustomSeriesRenderItemAPI) => {
                const area = params.coordSys as unknown as { x: number; y: number; width: number; height: number };
                const [x, y] = api.coord([this.run.begin, 0]);
                const [right, bottom] = api.coord([this.run.end, 1]);
                return this.painter.paint({
                    area,
                    perTime: (right - x) / (this.run.end - this.run.begin),
                    perRow: bottom - y,
                    origin: { x, y, time: this.run.begin },
                });
            },
        };
    }

    // How many calls began when: the overview shows it below the whole run.
    private densitySeries(): object {
        const counts = new Array<number>(overviewPoints).fill(0);
        const step = (this.run.end - this.run.begin) / overviewPoints;
        for (const { at } of this.run.calls) {
            counts[Math.min(overviewPoints - 1, Math.floor((at - this.run.begin) / step))]++;
        }
        return {
            type: 'line',
            yAxisIndex: 1,
            silent: true,
            showSymbol: false,
            lineStyle: { opacity: 0 },
            data: counts.map((count, place) => [this.run.begin + (place + 0.5) * step, Math.sqrt(count)]),
        };
    }

    private listen(): void {
        const surface = this.chart.getZr();
        surface.on('click', (event) => {
            const target = this.targetAt(event.offsetX, event.offsetY);
            if (target !== undefined) this.listener.onPick(target);
        });
        surface.on('mousemove', (event) => {
            const target = this.targetAt(event.offsetX, event.offsetY);
            surface.setCursorStyle(target === undefined ? 'default' : 'pointer');
            this.listener.onHover(target, event.offsetX, event.offsetY);
        });
        surface.on('globalout', () => this.listener.onHover(undefined, 0, 0));
        this.chart.on('finished', () => this.listener.onDrawn());
    }

    // Marks of events and gaps come before the calls that they lie over or beside.
    private targetAt(x: number, y: number): Target | undefined {
        if (!this.chart.containPixel('grid', [x, y])) return undefined;
        const [time, row] = this.chart.convertFromPixel({ xAxisIndex: 0, yAxisIndex: 0 }, [x, y]) as number[];
        const reach = (reachPixels * (this.window()[1] - this.window()[0])) / this.innerWidth();
        if (row < eventsTop + eventsHeight) return this.eventAt(time, reach);
        const call = this.callAt(row, time, reach);
        return call >= 0 ? { kind: 'call', index: call } : this.lossAt(row, time, reach);
    }

    private eventAt(time: number, reach: number): Target | undefined {
        let nearest = -1;
        let distance = reach * 2;
        this.run.events.forEach((event, index) => {
            if (!this.painter.isShown(index) || Math.abs(event.at - time) > distance) return;
            distance = Math.abs(event.at - time);
            nearest = index;
        });
        return nearest < 0 ? undefined : { kind: 'event', index: nearest };
    }

    private callAt(row: number, time: number, reach: number): number {
        const band = bandAt(this.layout, row);
        const depth = band === undefined ? -1 : Math.floor(row) - band.top - 1;
        if (band === undefined || depth < 0 || depth >= band.rows.length) return -1;
        return callAt(band.rows[depth], time, reach);
    }

    private lossAt(row: number, time: number, reach: number): Target | undefined {
        const band = bandAt(this.layout, row);
        if (band === undefined) return undefined;
        const { process, pid } = this.run.lanes[band.lane];
        const index = this.run.losses.findIndex(
            (loss) =>
                loss.process === process && loss.pid === pid &&
                time >= loss.at - reach && time <= loss.at + (loss.lasts ?? 0) + reach,
        );
        return index < 0 ? undefined : { kind: 'loss', index };
    }

    private rowWindow(): [number, number] {
        const at = (y: number) => this.chart.convertFromPixel({ yAxisIndex: 0 }, y) as unknown as number;
        return [at(sides.top), at(this.chart.getHeight() - sides.bottom)];
    }

    private scrollTo(row: number): void {
        const [top, bottom] = this.rowWindow();
        if (row >= top && row + 1 <= bottom) return;
        this.scrollRows(row - (bottom - top) / 2, bottom - top);
    }

    private scrollRows(top: number, height: number): void {
        const begin = Math.max(0, Math.min(top, this.rowCount() - height));
        this.chart.dispatchAction({
            type: 'dataZoom', dataZoomIndex: [2, 3], startValue: begin, endValue: begin + height,
        });
    }

    private innerWidth(): number {
        return Math.max(1, this.chart.getWidth() - sides.left - sides.right);
    }

    private rowCount(): number {
        return Math.max(this.layout.height, this.rowsInView());
    }

    private rowsInView(): number {
        return Math.max(1, (this.element.clientHeight - sides.top - sides.bottom) / rowPixels);
    }

    private resize(): void {
        this.chart.resize();
        this.chart.setOption({ yAxis: [this.rowAxis()] });
        this.scrollRows(this.rowWindow()[0], this.rowsInView());
    }
}
