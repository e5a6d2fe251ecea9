// SPDX-License-Identifier: Apache-2.0
// The fade/balance point is heard: what the loudspeakers play, in dB, before and after a drag. The
// server's time passes only on command, so the places in its file are known.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { Cabin, eventually, launchBrowser, openPage, skipIncomplete } from "./support.mjs";

skipIncomplete();

const LOUDSPEAKERS = ["LF", "RF", "LS", "RS"];
let cabin, browser, page;

before(async () => {
    cabin = new Cabin();
    // The browser may take long on a busy machine; time stands meanwhile.
    await cabin.startServer("--time", "stepped", "--await", "tone", "--patience", "60000");
    cabin.tool("set", "mixer.upmix=1");
    browser = await launchBrowser();
    ({ page } = await openPage(browser, await cabin.view()));
});
after(async () => {
    await browser?.close();
    await cabin?.stop();
});

/** Drags the point to these parts of its field, 0 to 1 from left and top. */
async function drag(x, y) {
    const field = await page.locator(".field").boundingBox();
    const handle = await page.locator(".knob").boundingBox();
    await page.mouse.move(handle.x + handle.width / 2, handle.y + handle.height / 2);
    await page.mouse.down();
    await page.mouse.move(field.x + field.width * x, field.y + field.height * y, { steps: 12 });
    await page.mouse.up();
}

test("a drag of the point changes each loudspeaker's level", async () => {
    cabin.play("tone", { amplitude: 0.25 });
    cabin.tool("server", "time", "run", "500");
    await drag(0.35, 0.4);  // 30 of 100 to the left, 20 to the front
    await eventually(() => Math.abs(cabin.value("fade") - 20) <= 1 &&
        Math.abs(cabin.value("balance") + 30) <= 1, "fade 20 and balance -30");
    const gains = LOUDSPEAKERS.map((name) => cabin.value(`volume.channel.${name}`));
    // Steps of half a dB: the right loses 30, the rear 20, and the front right keeps 20 of these.
    [0, -5, 0, -25].forEach((gain, index) =>
        assert.ok(Math.abs(gains[index] - gain) <= 1, `${LOUDSPEAKERS[index]} ${gains[index]} dB`));
    cabin.tool("server", "time", "run", "500");
    await cabin.stopServer();

    const checks = LOUDSPEAKERS.flatMap((name, index) => [
        `level -15.05 on ${name} [0.1..0.45]`,
        `level ${(-15.05 + gains[index]).toFixed(2)} on ${name} [0.6..0.95]`,
    ]);
    cabin.tool("check", cabin.wav, ...checks);
});
