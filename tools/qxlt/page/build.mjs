// Makes the page that the tool fills in: node build.mjs OUTPUT.cpp. One file of markup, with the style, the program and
// the licences of what is in it, as a text of the tool's own. The same sources give the same bytes.
import { createHash } from 'node:crypto';
import { readFileSync, writeFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { build } from 'esbuild';

const here = fileURLToPath(new URL('.', import.meta.url));
const read = (file) => readFileSync(here + file, 'utf8').replaceAll('\r\n', '\n');
const escaped = (text) => text.replaceAll('&', '&amp;').replaceAll('<', '&lt;');

// The libraries that the program consists of besides its own code, with all that their licences want told.
const libraries = [
    ['Apache ECharts', ['echarts/NOTICE', 'echarts/LICENSE', 'echarts/licenses/LICENSE-d3']],
    ['ZRender', ['zrender/LICENSE']],
    ['tslib', ['tslib/LICENSE.txt']],
];

async function program() {
    const result = await build({
        entryPoints: [`${here}src/main.ts`],
        absWorkingDir: here,
        bundle: true,
        minify: true,
        write: false,
        format: 'iife',
        target: 'es2020',
        charset: 'utf8',
        legalComments: 'none',
        metafile: true,
        define: { 'process.env.NODE_ENV': '"production"' },
    });
    checkLibraries(Object.keys(result.metafile.inputs));
    return result.outputFiles[0].text.trim().replaceAll('</script', '<\\/script').replaceAll('<!--', '<\\!--');
}

function checkLibraries(inputs) {
    const known = libraries.map(([, files]) => files[0].split('/')[0]);
    for (const input of inputs) {
        const library = /node_modules\/((?:@[^/]*\/)?[^/]*)\//.exec(input)?.[1];
        if (library && !known.includes(library)) throw new Error(`build.mjs: the licence of ${library} is missing`);
    }
}

function licences() {
    const text = ([name, files]) => `${name}\n\n${files.map((file) => read(`node_modules/${file}`)).join('\n\n')}`;
    return libraries.map(text).join('\n\n');
}

// The page runs this program and no other, loads nothing and sends nothing.
function policy(script, style) {
    const hash = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;
    return `default-src 'none'; script-src ${hash(script)}; style-src ${hash(style)}; base-uri 'none'; form-action 'none'`;
}

// Each part is put in once: none is looked at for the places of others.
function fill(template, parts) {
    return template.replace(/@(\w+)@/g, (place, name) => {
        if (!(name in parts)) throw new Error(`build.mjs: nothing is known of ${place}`);
        return parts[name];
    });
}

const script = await program();
const style = read('src/page.css');
const page = fill(read('src/page.html'), {
    policy: policy(script, style),
    style,
    script,
    licences: escaped(licences()),
    run: '@run@',
});
const delimiter = 'qxlt-page';
if (page.includes(`)${delimiter}"`)) throw new Error('build.mjs: the page ends its own text');
// Compilers need not take a text as long as this one; those that this is built with do.
writeFileSync(process.argv[2], `#include "PageTemplate.h"

#pragma GCC diagnostic ignored "-Woverlength-strings"

namespace qxlt {

std::string_view PageTemplate() {
    static constexpr char page[] = R"${delimiter}(${page})${delimiter}";
    return {page, sizeof page - 1};
}

}  // namespace qxlt
`);
