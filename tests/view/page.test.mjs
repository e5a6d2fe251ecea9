// SPDX-License-Identifier: Apache-2.0
// What the page shows, what it sets, and who is refused.
import assert from "node:assert/strict";
import http from "node:http";
import { after, before, test } from "node:test";
import {
    Cabin, eventually, launchBrowser, openPage, skipIncomplete, until,
} from "./support.mjs";

skipIncomplete();

const HOSTILE = "<b onclick=\"document.title='x'\">&amp;'music'";
let cabin, browser, address, page, problems;

before(async () => {
    cabin = new Cabin();
    await cabin.startServer();
    address = await cabin.view();
    browser = await launchBrowser();
    ({ page, problems } = await openPage(browser, address));
});
after(async () => {
    await browser?.close();
    await cabin?.stop();
});

const setting = (name) => page.locator(`#list .setting[data-name="${name}"]`);

test("a playing stream's level appears", async () => {
    const player = cabin.play("music", { amplitude: 0.25 });
    const strip = page.locator(".strip[data-stream='music']");
    await strip.waitFor();
    // A sine of a quarter of full scale: its peak has -12 dB, its mean -15 dB.
    await until(page, () => {
        const text = document.querySelector(".strip[data-stream='music'] .level").textContent;
        const db = Number(text.replace("\u2212", "-").replace(" dB", ""));
        return db <= -11 && db >= -16;
    });
    assert.match(await strip.locator(".about").textContent(), /^cabinaudio \d+ . main sink . media$/);
    assert.equal(await strip.locator(".state").textContent(), "active");
    await until(page, () => Number(document.querySelector(
        ".loudspeaker[data-name='LF'] .glow").style.opacity) > 0.5);
    await until(page, () => document.querySelector("#zones").textContent.includes("music"));
    player.kill("SIGTERM");
    await strip.waitFor({ state: "detached" });
});

test("a hostile name stays text", async () => {
    const player = cabin.play(HOSTILE);
    await until(page, (name) => [...document.querySelectorAll(".strip-name")].some(
        (node) => node.textContent === name), HOSTILE);
    assert.equal(await page.locator("main b").count(), 0);
    assert.equal(await page.title(), "cabinaudio view");
    player.kill("SIGTERM");
});

test("ducking is told in words", async () => {
    cabin.tool("set", "ducking.mode=1");
    const music = cabin.play("radio");
    const prompt = cabin.play("prompt", { tag: "alternative" });
    await until(page, () => document.querySelector("#ducking").textContent ===
        "prompt lowers radio by 20 dB");
    prompt.kill("SIGTERM");
    await until(page, () => document.querySelector("#ducking").textContent === "");
    music.kill("SIGTERM");
});

test("a mute from the command line appears", async () => {
    const button = setting("mute.main").getByRole("switch");
    assert.equal(await button.getAttribute("aria-checked"), "false");
    cabin.tool("set", "mute.main=on");
    await until(page, () => document.querySelector(
        "#list [data-name='mute.main'] [role=switch]").getAttribute("aria-checked") === "true");
    await button.click();
    await eventually(() => cabin.value("mute.main") === false, "mute.main=off");
});

test("a refusal is shown beside its control", async () => {
    const row = setting("mixer.navigation.mode");
    await row.getByRole("spinbutton").fill("7");
    await row.getByRole("spinbutton").press("Enter");
    await row.locator(".answer:not(:empty)").waitFor();
    assert.match(await row.locator(".answer").textContent(), /-3000|refused/);
    await row.getByRole("spinbutton").fill("0");
    await row.getByRole("spinbutton").press("Enter");
    await row.locator(".answer:not(:empty)").waitFor({ state: "detached" });
});

test("the search finds settings by name and by words", async () => {
    await page.getByRole("searchbox").fill("volume.channel");
    await until(page, () => document.querySelector(".count").textContent.startsWith("6 of "));
    assert.equal(await setting("mute.main").isVisible(), false);
    await page.getByRole("searchbox").fill("");
    await setting("mute.main").waitFor();
});

test("a setting with a name of its own is set by name", async () => {
    await page.getByLabel("Another name").fill("volume.track.main.later");
    await page.getByLabel("Value", { exact: true }).fill("-7.5dB");
    await page.getByRole("button", { name: "Set", exact: true }).click();
    await eventually(() => cabin.value("volume.track.main.later") === -7.5, "the track's volume");
});

test("keyboard alone moves fade and balance, a volume and a mute", async () => {
    const reach = async (condition) => {
        for (let i = 0; i < 60; ++i) {
            await page.keyboard.press("Tab");
            if (await page.evaluate(condition)) return;
        }
        assert.fail("not reached with the Tab key");
    };
    await page.evaluate(() => document.activeElement.blur());
    await page.keyboard.press("Home");
    await reach(() => document.activeElement.getAttribute("aria-label") === "Fade and balance");
    await page.keyboard.press("ArrowUp");
    await page.keyboard.press("ArrowUp");
    await page.keyboard.press("ArrowLeft");
    await eventually(() => cabin.value("fade") === 10 && cabin.value("balance") === -5, "10 and -5");
    await page.keyboard.press("Home");
    await eventually(() => cabin.value("fade") === 0 && cabin.value("balance") === 0, "the middle");
    await reach(() => document.activeElement.getAttribute("aria-label") === "Mute path second");
    await page.keyboard.press("Space");
    await eventually(() => cabin.value("mute.second") === true, "mute.second=on");
    await reach(() => document.activeElement.getAttribute("aria-label") === "Master volume");
    await page.keyboard.press("ArrowLeft");
    await eventually(() => cabin.value("volume.master") === -0.5, "-0.5 dB");
});

test("uplink and its codec appear, and requests by name", async () => {
    const recorder = cabin.record("call", "--tag", "uplink", "--codec", "opus");
    await until(page, () => /opus/i.test(document.querySelector(
        "[data-capture='call'] .about")?.textContent));
    cabin.tool("set", "volume.master=-1dB");
    await until(page, () => [...document.querySelectorAll("td.request")].some(
        (cell) => /setMasterVolume/.test(cell.textContent)));
    recorder.kill("SIGTERM");
});

test("a crash of the server and its return are shown", async () => {
    cabin.tool("server", "crash");
    await page.locator("#banner").waitFor();
    assert.notEqual(await page.locator("#banner").textContent(), "");
    assert.equal(await setting("mute.main").getByRole("switch").isDisabled(), true);
    await cabin.startServer();
    await page.locator("#banner").waitFor({ state: "hidden" });
    assert.equal(await setting("mute.main").getByRole("switch").isEnabled(), true);
    cabin.tool("set", "volume.second=-3dB");
    await until(page, () => document.querySelector(
        "#list [data-name='volume.second'] input[type=number]").value === "-3");
});

test("a hidden page gives up its events, and takes them up again", async () => {
    const hide = (isHidden) => page.evaluate((value) => {
        Object.defineProperty(document, "hidden", { configurable: true, get: () => value });
        document.dispatchEvent(new Event("visibilitychange"));
    }, isHidden);
    const isEvents = (request) => request.url() === `${address}events`;
    const ended = page.waitForEvent("requestfailed", isEvents);
    await hide(true);
    await ended;
    cabin.tool("set", "volume.second=-4dB");
    const begun = page.waitForRequest(isEvents);
    await hide(false);
    await begun;
    await until(page, () => document.querySelector(
        "#list [data-name='volume.second'] input[type=number]").value === "-4");
});

test("another server's levels are said to be unknown", async () => {
    const { page: other } = await openPage(browser, address);
    const event = await other.evaluate(() => new Promise((resolve) => {
        const source = new EventSource("events");
        source.addEventListener("cabin", ({ data }) => {
            source.close();
            resolve(JSON.parse(data));
        });
    }));
    event.server = { kind: "other", instance: "", version: null, time: null };
    await other.route("**/events", (route) => route.fulfill({
        contentType: "text/event-stream", body: `event: cabin\ndata: ${JSON.stringify(event)}\n\n`,
    }));
    await other.reload();
    await until(other, () => ["flow", "spectrum", "captures", "requests"].every((id) =>
        document.getElementById(id).textContent.includes("ot known to this server.")));
    assert.match(await other.locator("#server").textContent(), /^server$/);
    await other.context().close();
});

function statusOf(url, { headers = {}, method = "GET", body } = {}) {
    return new Promise((resolve, fail) => {
        const request = http.request(url, { method, headers }, (answer) => {
            answer.resume();
            resolve(answer.statusCode);
        });
        request.on("error", fail);
        request.end(body);
    });
}

test("a foreign host, origin or token is refused", async () => {
    const { origin, host } = new URL(address);
    const body = JSON.stringify({ name: "mute.main", value: true });
    const post = (headers, url = `${address}set`) => statusOf(url, {
        method: "POST", body, headers: { "Content-Type": "application/json", ...headers },
    });
    assert.equal(await statusOf(address), 200);
    assert.equal(await statusOf(address, { headers: { Host: "cabin.example" } }), 403);
    assert.equal(await statusOf(`${address}events`, { headers: { Origin: "http://a.example" } }), 403);
    assert.equal(await post({ Origin: "http://a.example" }), 403);
    assert.equal(await post({ Host: "a.example", Origin: "http://a.example" }), 403);
    assert.equal(await post({ Origin: origin, Host: host }, `${origin}/${"0".repeat(32)}/set`), 404);
    assert.equal(await statusOf(`${origin}/`), 404);
    assert.equal(await statusOf(`${origin}/index.html`), 404);
    assert.equal(cabin.value("mute.main"), false);
    assert.equal(await post({ Origin: origin }), 200);
    assert.equal(cabin.value("mute.main"), true);
});

test("no console error and no request to elsewhere in all that", () => {
    // The browser reports the event stream's end while the page is closed or the server restarts.
    assert.deepEqual(problems, []);
});
