// A browser without a window, as Debian has it.
import { chromium } from 'playwright-core';

export function openBrowser() {
    return chromium.launch({
        executablePath: process.env.QX_CHROMIUM ?? '/usr/bin/chromium',
        args: process.getuid() === 0 ? ['--no-sandbox'] : [],
    });
}

// Shows a page of `qxlt view`, once it is drawn.
export async function openPage(page, file) {
    await page.goto(`file://${file}`);
    await page.waitForSelector('#page[aria-busy="false"]');
}

// What was asked for is drawn in the next frame.
export function nextFrame(page) {
    return page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
}
