// Takes the pictures of the documents: node screenshots.mjs PAGE DIRECTORY.
import { nextFrame, openBrowser, openPage } from './browser.mjs';

const [file, directory] = process.argv.slice(2);
const browser = await openBrowser();
try {
    const page = await browser.newPage({ viewport: { width: 1100, height: 560 } });
    await openPage(page, file);
    const shoot = async (name) => {
        await nextFrame(page);
        await page.screenshot({ path: `${directory}/${name}.png` });
    };
    await page.locator('tr', { hasText: 'VOLUME_HIGH' }).first().click();
    await page.locator('#picture').focus();
    for (let i = 0; i < 13; ++i) await page.keyboard.press('-');
    await shoot('view');
    await page.click('#all');
    await page.check('#show-calls');
    await page.fill('#method', 'volume');
    await page.fill('#value', '85');
    await page.selectOption('#time', 'wall');
    await shoot('view-filter');
} finally {
    await browser.close();
}
