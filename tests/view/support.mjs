// SPDX-License-Identifier: Apache-2.0
// Development server, tool and browser for the tests of the page. Every wait ends with an event or
// after BOUND_MS.
import { spawn, spawnSync } from "node:child_process";
import { existsSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import path from "node:path";
import { createInterface } from "node:readline";

export const BOUND_MS = 30000;
const CHROMIUM = "/usr/bin/chromium";
const { CABINAUDIO_TEST_TOOL: TOOL, CABINAUDIO_TEST_SERVER: SERVER } = process.env;
const OUTPUT = process.env.CABINAUDIO_TEST_OUTPUT;

// The modules are in the build tree, which import does not know.
const modules = createRequire(path.join(process.env.CABINAUDIO_TEST_MODULES, "/"));

function has(module) {
    try {
        modules.resolve(module);
        return true;
    } catch {
        return false;
    }
}

/** Ends the test program if something that it needs is not installed. */
export function skipIncomplete() {
    const missing = !existsSync(CHROMIUM) ? "chromium"
        : ["playwright-core", "axe-core"].find((name) => !has(name));
    if (!missing) return;
    console.log(`tests/view: Skipped\n${missing} is not installed`);
    process.exit(0);
}

export const axeFile = () => modules.resolve("axe-core/axe.min.js");

export async function launchBrowser() {
    const { chromium } = modules("playwright-core");
    // Chromium cannot sandbox pages of root, or in most containers. It only gets this page.
    return chromium.launch({
        executablePath: CHROMIUM, timeout: BOUND_MS, args: ["--disable-gpu", "--no-sandbox"],
    });
}

/** Where pictures of a test are kept. */
export function outputFile(name) {
    mkdirSync(OUTPUT, { recursive: true });
    return path.join(OUTPUT, name);
}

function bounded(promise, what) {
    let timer;
    const bound = new Promise((_, fail) => {
        timer = setTimeout(() => fail(new Error(`waited ${BOUND_MS} ms for ${what}`)), BOUND_MS);
    });
    return Promise.race([promise, bound]).finally(() => clearTimeout(timer));
}

/** A mono WAV file with a sine. */
function sineFile(file, { hz = 440, amplitude = 0.25, seconds = 20 } = {}) {
    const rate = 48000;
    const data = Buffer.alloc(seconds * rate * 2);
    for (let i = 0; i < seconds * rate; ++i) {
        data.writeInt16LE(Math.round(amplitude * 32767 * Math.sin(2 * Math.PI * hz * i / rate)), 2 * i);
    }
    const header = Buffer.alloc(44);
    header.write("RIFF", 0);
    header.writeUInt32LE(36 + data.length, 4);
    header.write("WAVEfmt ", 8);
    header.writeUInt32LE(16, 16);
    header.writeUInt16LE(1, 20);
    header.writeUInt16LE(1, 22);
    header.writeUInt32LE(rate, 24);
    header.writeUInt32LE(rate * 2, 28);
    header.writeUInt16LE(2, 32);
    header.writeUInt16LE(16, 34);
    header.write("data", 36);
    header.writeUInt32LE(data.length, 40);
    writeFileSync(file, Buffer.concat([header, data]));
}

let instances = 0;

/** A development server of its own instance, and programs that use it. */
export class Cabin {
    directory = mkdtempSync(path.join(tmpdir(), "cabinaudio-view-"));
    wav = path.join(this.directory, "heard.wav");
    #environment = {
        ...process.env, HOME: this.directory, XDG_CONFIG_HOME: path.join(this.directory, ".config"),
        CABINAUDIO_INSTANCE: `view-${process.pid}-${++instances}`,
    };
    #children = [];
    #server = null;

    async startServer(...options) {
        this.#server = this.#spawn(SERVER, ["--output", `wav:${this.wav}`, "--channels", "6",
            "--ready-fd", "3", ...options], ["ignore", "ignore", "inherit", "pipe"]);
        await bounded(new Promise((ready, fail) => {
            this.#server.stdio[3].once("data", ready);
            this.#server.once("exit", (code) => fail(new Error(`the server ended with ${code}`)));
        }), "the server");
    }

    /** Ends the server, which completes its WAV file. */
    async stopServer() {
        const ended = new Promise((done) => this.#server.once("exit", done));
        this.#server.kill("SIGTERM");
        await bounded(ended, "the server's end");
    }

    /** Starts the tool's page. @return its address */
    async view() {
        const child = this.#spawn(TOOL, ["view", "--no-open"], ["ignore", "pipe", "inherit"]);
        return bounded(new Promise((found, fail) => {
            createInterface({ input: child.stdout }).on("line", (line) => {
                const address = /http:\/\/127\.0\.0\.1:\d+\/[0-9a-f]+\//.exec(line);
                if (address) found(address[0]);
            });
            child.once("exit", (code) => fail(new Error(`cabinaudio view ended with ${code}`)));
        }), "the page's address");
    }

    /** Runs the tool to its end. @return its output */
    tool(...words) {
        const { status, stdout, stderr } = spawnSync(TOOL, words,
            { env: this.#environment, encoding: "utf8", timeout: BOUND_MS });
        if (status !== 0) throw new Error(`cabinaudio ${words.join(" ")}: ${status}: ${stderr}${stdout}`);
        return stdout;
    }

    value(name) {
        return JSON.parse(this.tool("get", "--json", name)).settings[0].value;
    }

    /** Plays a tone in the background. */
    play(name, { tag = "main", ...tone } = {}) {
        const file = path.join(this.directory, `tone-${this.#children.length}.wav`);
        sineFile(file, tone);
        return this.#spawn(TOOL, ["play", "--timeout", "120", "--tag", tag, "--name", name, file],
            ["ignore", "ignore", "ignore"]);
    }

    /** Records an uplink in Opus in the background. */
    record(name, ...options) {
        const file = path.join(this.directory, `${name}.opus`);
        return this.#spawn(TOOL, ["record", "--name", name, ...options, file],
            ["ignore", "ignore", "ignore"]);
    }

    /** Ends everything that was started. */
    async stop() {
        const running = this.#children.filter((child) =>
            child.exitCode === null && child.signalCode === null);
        const ended = running.map((child) => new Promise((done) => child.once("exit", done)));
        for (const child of running.reverse()) child.kill("SIGTERM");
        await bounded(Promise.all(ended), "the ends of all programs");
        rmSync(this.directory, { recursive: true, force: true });
    }

    #spawn(program, words, stdio) {
        const child = spawn(program, words, { env: this.#environment, stdio });
        this.#children.push(child);
        return child;
    }
}

/** Opens the page. @return {page, problems}: console errors and requests to elsewhere */
export async function openPage(browser, address, options = {}) {
    const context = await browser.newContext({ viewport: { width: 1280, height: 900 }, ...options });
    context.setDefaultTimeout(BOUND_MS);
    const page = await context.newPage();
    const problems = [];
    page.on("console", (message) => {
        if (["error", "warning"].includes(message.type())) problems.push(message.text());
    });
    page.on("pageerror", (error) => problems.push(error.message));
    page.on("request", (request) => {
        if (!request.url().startsWith(address)) problems.push(`asked for ${request.url()}`);
    });
    await page.goto(address);
    await page.waitForSelector("fieldset:enabled");
    return { page, problems };
}

/** Waits until a function of the page, with `argument`, is true. */
export async function until(page, condition, argument) {
    await page.waitForFunction(condition, argument, { timeout: BOUND_MS, polling: 20 });
}

/** Waits until `condition()` of this program is true, for values that only the tool shows. */
export async function eventually(condition, what) {
    const end = Date.now() + BOUND_MS;
    while (!condition()) {
        if (Date.now() > end) throw new Error(`waited ${BOUND_MS} ms for ${what}`);
        await new Promise((resume) => setTimeout(resume, 20));
    }
}
