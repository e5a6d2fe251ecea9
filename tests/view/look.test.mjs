// SPDX-License-Identifier: Apache-2.0
// Labels, roles and contrast in light and dark, on desktop and phone; pictures are kept.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { after, before, test } from "node:test";
import {
    axeFile, Cabin, launchBrowser, openPage, outputFile, skipIncomplete, until,
} from "./support.mjs";

skipIncomplete();

let cabin, browser, page;

before(async () => {
    cabin = new Cabin();
    await cabin.startServer();
    cabin.tool("set", "ducking.mode=1", "fade=20", "balance=-15", "mixer.upmix=1");
    cabin.play("radio", { amplitude: 0.5, seconds: 60 });
    cabin.play("directions", { tag: "alternative", amplitude: 0.2, hz: 1200, seconds: 60 });
    cabin.play("chime", { tag: "auxiliary", amplitude: 0.06, hz: 3000, seconds: 60 });
    cabin.record("call", "--tag", "uplink", "--codec", "opus");
    browser = await launchBrowser();
    ({ page } = await openPage(browser, await cabin.view()));
    await until(page, () => document.querySelectorAll(".strip").length === 4 &&
        document.querySelector("#ducking").textContent !== "");
    await page.evaluate(readFileSync(axeFile(), "utf8"));
    // Parts outside the view are not rendered otherwise, and not looked at.
    await page.evaluate(() => document.querySelectorAll("#settings, .tiles .card, .strip").forEach((node) => {
        node.style.contentVisibility = "visible";
    }));
});
after(async () => {
    await browser?.close();
    await cabin?.stop();
});

for (const colorScheme of ["light", "dark"]) {
    for (const [device, width, height] of [["desktop", 1280, 900], ["phone", 360, 740]]) {
        test(`${device}, ${colorScheme}: accessible and within its width`, async () => {
            await page.emulateMedia({ colorScheme, reducedMotion: "reduce" });
            await page.setViewportSize({ width, height });
            const found = await page.evaluate(() => axe.run(document, { resultTypes: ["violations"] }));
            assert.deepEqual(found.violations.map(({ id, nodes }) =>
                `${id}: ${nodes.slice(0, 3).map((node) => node.html.slice(0, 120)).join(" | ")}`), []);
            assert.ok(found.passes.length > 20, "axe found little to look at");
            const wide = await page.evaluate(() => document.documentElement.scrollWidth);
            assert.ok(wide <= width, `${wide} pixels wide`);
            await page.screenshot({ path: outputFile(`view-${device}-${colorScheme}.png`) });
        });
    }
}
