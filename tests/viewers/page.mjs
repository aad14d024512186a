// Opens a page of `qxlt view` in a browser without a window, does what a person would do, and prints what that person
// would find, a JSON line for each step: node page.mjs PAGE STEP... What the page did besides comes last: {"besides":[]}.
import { nextFrame, openBrowser, openPage } from './browser.mjs';

const rowPixels = 18;
const complaints = [];

// As a person moves the mouse over the first rows, from left to right: what is said under it, once for each row.
async function hovered(page) {
    return page.evaluate((height) => {
        const picture = document.getElementById('picture');
        const area = picture.getBoundingClientRect();
        const found = [];
        for (let y = 26 + height / 2, row = 0; row < 8; y += height, ++row) {
            for (let x = 44; x < area.width - 44; x += 6) {
                const place = { clientX: area.left + x, clientY: area.top + y, bubbles: true };
                picture.querySelector('canvas').dispatchEvent(new MouseEvent('mousemove', place));
                const tip = document.getElementById('tip');
                const text = tip.hidden ? '' : tip.textContent;
                if (text === '' || found.some((one) => one.row === row && one.text === text)) continue;
                found.push({ row, text, x: area.left + x, y: area.top + y });
            }
        }
        return found;
    }, rowPixels);
}

async function texts(page, selector) {
    return page.locator(selector).allTextContents();
}

// Of the element: what a screen reader makes of it.
function described(element) {
    const attributes = ['role', 'aria-label', 'aria-rowcount', 'aria-rowindex', 'aria-selected', 'tabindex'];
    return attributes.map((name) => element.getAttribute(name) && `${name}=${element.getAttribute(name)}`).filter(Boolean);
}

const steps = {
    label: (page) => page.getAttribute('#picture', 'aria-label'),
    text: (page, selector) => page.textContent(selector),
    texts,
    count: (page, selector) => page.locator(selector).count(),
    title: (page) => page.title(),
    hover: async (page) => (await hovered(page)).map(({ row, text }) => `${row}: ${text}`),
    // Clicks what says this under the mouse.
    pick: async (page, text) => {
        const place = (await hovered(page)).find((one) => one.text === text);
        if (place === undefined) return 'nothing says that';
        await page.mouse.click(place.x, place.y);
        return texts(page, '#details h2, #details dt, #details dd');
    },
    details: (page) => texts(page, '#details h2, #details dt, #details dd'),
    rows: (page) => page.$$eval('#list tbody tr', (rows) => rows.map((row) => [...row.cells].map((cell) => cell.textContent).join(' | '))),
    fill: async (page, id, text) => {
        await page.fill(`#${id}`, text);
        return page.textContent('#found');
    },
    click: (page, selector) => page.click(selector).then(() => 'done'),
    time: (page, form) => page.selectOption('#time', form).then(() => 'done'),
    press: (page, key) => page.keyboard.press(key).then(() => 'done'),
    focused: (page) => page.evaluate(`(${described})(document.activeElement)`),
    described: (page, selector) => page.$eval(selector, described),
    drawn: async (page) => {
        const { width, height } = await page.locator('#picture canvas').first().boundingBox();
        return [width > 300, height > 200];
    },
};

async function perform(page, step) {
    const [name, ...rest] = step.split(' ');
    const args = name === 'fill' ? [rest[0], rest.slice(1).join(' ')] : rest.length > 0 ? [rest.join(' ')] : [];
    if (!(name in steps)) throw new Error(`there is no step ${name}`);
    const result = await steps[name](page, ...args);
    await nextFrame(page);
    return { [step]: result };
}

const [file, ...wanted] = process.argv.slice(2);
const browser = await openBrowser();
try {
    const page = await browser.newPage({ viewport: { width: 1200, height: 700 } });
    page.setDefaultTimeout(50000);
    const address = `file://${file}`;
    page.on('request', (request) => request.url() !== address && complaints.push(`asked for ${request.url()}`));
    page.on('console', (message) => complaints.push(`console: ${message.text()}`));
    page.on('pageerror', (error) => complaints.push(`error: ${error.message}`));
    page.on('dialog', (dialog) => {
        complaints.push(`dialog: ${dialog.message()}`);
        return dialog.dismiss();
    });
    await openPage(page, file);
    for (const step of wanted) console.log(JSON.stringify(await perform(page, step)));
    console.log(JSON.stringify({ besides: complaints }));
} finally {
    await browser.close();
}
