// Imports a file with speedscope's own code and prints what it makes of it, a JSON line for each thread:
// node speedscope-import.mjs FILE.
//
// The package is one bundled page. Its code is run here without the page: in place of drawing it hands out the function
// that it opens files with.
import { readFileSync, readdirSync } from 'node:fs';
import { basename } from 'node:path';
import vm from 'node:vm';

const release = new URL('node_modules/speedscope/dist/release/', import.meta.url);

function bundle() {
    const name = readdirSync(release).find((file) => /^speedscope-.*\.js$/.test(file));
    const code = readFileSync(new URL(name, release), 'utf8');
    const opener = /loadFileFromBase64:\((\w+),(\w+)\)=>\{this\.loadProfile\(\(\)=>([\w$]+)\(\1,\2\)\)/.exec(code);
    const drawing = code.lastIndexOf('console.log(`speedscope v');
    const end = code.lastIndexOf('})();');
    if (!opener || drawing < 0 || end < drawing) throw new Error(`${name}: not built as this script knows it`);
    return code.slice(0, drawing) + `globalThis.openFile=${opener[3]};` + code.slice(end);
}

// As much of a browser as the code touches before it draws anything.
function browser() {
    const nothing = () => undefined;
    const media = { matches: false, addListener: nothing, addEventListener: nothing };
    const element = { style: {}, setAttribute: nothing, appendChild: nothing, addEventListener: nothing };
    const page = {
        console: { ...console, log: nothing },
        document: { createElement: () => element, createTextNode: () => element, head: element, body: element },
        location: { hash: '', protocol: 'file:', href: 'file:///' },
        navigator: { userAgent: '', platform: '' },
        localStorage: { getItem: () => null, setItem: nothing },
        matchMedia: () => media,
        addEventListener: nothing,
        requestAnimationFrame: nothing,
        atob, btoa, setTimeout, clearTimeout, TextDecoder, TextEncoder, URL, performance,
    };
    return Object.assign(page, { window: page, self: page });
}

// The calls in the order in which they begin, each with its depth, and when it begins and ends.
function callsOf(profile) {
    const calls = [];
    const open = [];
    profile.forEachCall(
        (node, value) => {
            open.push(calls.length);
            calls.push({ name: node.frame.name, depth: open.length - 1, begin: value });
        },
        (node, value) => {
            calls[open.pop()].end = value;
        },
    );
    return calls;
}

const file = process.argv[2];
const page = vm.createContext(browser());
vm.runInContext(bundle(), page);
const group = await page.openFile(basename(file), readFileSync(file).toString('base64'));
for (const profile of group.profiles) {
    console.log(JSON.stringify({ thread: profile.getName(), unit: profile.getWeightUnit(), calls: callsOf(profile) }));
}
