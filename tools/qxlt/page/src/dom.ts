// Elements of the page. All that comes out of the run gets into the page here, as text and never as markup.

export function element<Type extends HTMLElement>(id: string): Type {
    const found = document.getElementById(id);
    if (found === null) throw new Error(`the page has no ${id}`);
    return found as Type;
}

// What stands in it may be written from right to left, and does not turn what stands around it.
export function make(name: string, text = '', className = ''): HTMLElement {
    const made = document.createElement(name);
    made.textContent = text;
    if (className !== '') made.className = className;
    made.dir = 'auto';
    return made;
}
