// The table: events, or calls, that are looked for. It is a grid for the keyboard: arrows go from row to row, Enter jumps
// to the row's place in the picture. However long it is, only some rows of it are in the page at a time.
import { make } from './dom';

export interface Content {
    label: string;
    heads: string[];
    count: number;
    cells(row: number): string[];
    jump(row: number): void;
}

const rowsInPage = 200;

export class List {
    private content: Content = { label: '', heads: [], count: 0, cells: () => [], jump: () => undefined };
    private top = 0;
    private current = 0;

    constructor(private readonly table: HTMLElement) {
        table.addEventListener('keydown', (event) => this.onKey(event));
        table.addEventListener('click', (event) => this.onClick(event));
    }

    show(content: Content): void {
        this.content = content;
        this.top = 0;
        this.current = 0;
        this.table.setAttribute('aria-label', content.label);
        this.table.setAttribute('aria-rowcount', `${content.count + 1}`);
        this.fill();
    }

    // The same rows with other texts.
    renew(content: Content): void {
        this.content = content;
        this.fill();
    }

    select(row: number): void {
        this.current = Math.max(0, Math.min(row, this.content.count - 1));
        if (this.rowElement() === null) {
            this.top = Math.max(0, this.current - rowsInPage / 2);
            this.fill();
        }
        this.mark();
        this.rowElement()?.scrollIntoView({ block: 'nearest' });
    }

    private fill(): void {
        const head = make('thead');
        const titles = make('tr');
        titles.setAttribute('aria-rowindex', '1');
        for (const title of this.content.heads) titles.append(this.headCell(title));
        head.append(titles);
        const body = make('tbody');
        const behind = Math.min(this.content.count, this.top + rowsInPage);
        for (let row = this.top; row < behind; ++row) body.append(this.rowOf(row));
        if (this.content.count === 0) body.append(this.emptyRow());
        this.table.replaceChildren(head, body);
        this.mark();
    }

    private headCell(title: string): HTMLElement {
        const cell = make('th', title);
        cell.setAttribute('scope', 'col');
        return cell;
    }

    private rowOf(row: number): HTMLElement {
        const made = make('tr');
        made.dataset.row = `${row}`;
        made.tabIndex = -1;
        made.setAttribute('aria-rowindex', `${row + 2}`);
        for (const text of this.content.cells(row)) {
            const cell = make('td', text);
            cell.setAttribute('role', 'gridcell');
            made.append(cell);
        }
        return made;
    }

    private emptyRow(): HTMLElement {
        const made = make('tr');
        const cell = make('td', 'none');
        cell.setAttribute('colspan', `${this.content.heads.length}`);
        made.append(cell);
        return made;
    }

    private rowElement(): HTMLElement | null {
        return this.table.querySelector(`tr[data-row="${this.current}"]`);
    }

    // One row is reached with Tab: the current one.
    private mark(): void {
        for (const row of this.table.querySelectorAll<HTMLElement>('tr[data-row]')) {
            const isCurrent = row.dataset.row === `${this.current}`;
            row.tabIndex = isCurrent ? 0 : -1;
            row.setAttribute('aria-selected', `${isCurrent}`);
        }
    }

    private onKey(event: KeyboardEvent): void {
        const steps: Record<string, number> = {
            ArrowDown: 1, ArrowUp: -1, PageDown: 20, PageUp: -20, Home: -this.content.count, End: this.content.count,
        };
        if (event.key === 'Enter' || event.key === ' ') this.content.jump(this.current);
        else if (event.key in steps) this.goTo(this.current + steps[event.key]);
        else return;
        event.preventDefault();
    }

    private goTo(row: number): void {
        this.select(row);
        this.rowElement()?.focus();
    }

    private onClick(event: Event): void {
        const row = (event.target as HTMLElement).closest<HTMLElement>('tr[data-row]')?.dataset.row;
        if (row === undefined) return;
        this.goTo(Number(row));
        this.content.jump(this.current);
    }
}
