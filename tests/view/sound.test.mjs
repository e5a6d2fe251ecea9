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
    await cabin.startServer("--time", "stepped");
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
    await drag(0.75, 0.25);  // half way to the right and to the front
    await eventually(() => Math.abs(cabin.value("fade") - 50) <= 1 &&
        Math.abs(cabin.value("balance") - 50) <= 1, "fade and balance of 50");
    const gains = LOUDSPEAKERS.map((name) => cabin.value(`volume.channel.${name}`));
    cabin.tool("server", "time", "run", "500");
    await cabin.stopServer();

    const [leftFront, rightFront, leftRear, rightRear] = gains;
    assert.ok(rightFront > leftFront && leftFront > leftRear && rightFront > rightRear, `${gains}`);
    assert.ok(rightFront - leftRear > 6, `${gains}`);
    const checks = LOUDSPEAKERS.flatMap((name, index) => [
        `level -15.05 on ${name} [0.1..0.45]`,
        `level ${(-15.05 + gains[index]).toFixed(2)} on ${name} [0.6..0.95]`,
    ]);
    cabin.tool("check", cabin.wav, ...checks);
});
