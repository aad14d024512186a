// Fails unless the build script, started in two places, makes the same file: node same-bytes.mjs BUILD.mjs.
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const places = ['a', 'another-with-a-longer-name-'].map((name) => mkdtempSync(join(tmpdir(), name)));
try {
    const made = places.map((place) => {
        const file = join(place, 'page.cpp');
        execFileSync(process.execPath, [process.argv[2], file], { cwd: place, env: { ...process.env, HOME: place } });
        return readFileSync(file);
    });
    if (!made[0].equals(made[1])) throw new Error('the page differs from build to build');
    for (const place of places) {
        if (made[0].includes(place)) throw new Error(`the page holds ${place}`);
    }
} finally {
    for (const place of places) rmSync(place, { recursive: true });
}
