// SPDX-License-Identifier: Apache-2.0
// The settings: values as the server has them, changes on their way to it, and its answers.

// At most 20 requests a second for one setting; a drag gives more.
const PAUSE_MS = 50;

const wait = (ms) => new Promise((resume) => setTimeout(resume, ms));

// Fade and balance are two views of the same four gains: one request sets both.
const PARTNERS = { fade: "balance", balance: "fade" };

async function post(name, value, partner) {
    const answer = await fetch("set", {
        method: "POST",
        headers: { "Content-Type": "application/json" },
        body: JSON.stringify({ name, value, partner }),
    });
    if (!answer.ok) throw new Error(`cabinaudio view answered ${answer.status}`);
    return answer.json();
}

export class Settings {
    #entries = new Map();
    #send;
    // One request at a time, in the order of the changes.
    #turn = Promise.resolve();

    constructor(send = post) {
        this.#send = send;
    }

    /** The server's settings, after a connection to it. Changes on their way are kept. */
    load(settings) {
        for (const [name, info] of Object.entries(settings)) {
            const entry = this.#entry(name);
            entry.info = info;
            this.#accept(entry, info.value);
        }
    }

    /** Changes that somebody made. */
    change(changes) {
        for (const [name, value] of Object.entries(changes)) this.#accept(this.#entry(name), value);
    }

    /** Settings that do not exist any more, such as those of a track. */
    remove(names) {
        for (const name of names) this.#entry(name).info = null;
    }

    info(name) {
        return this.#entries.get(name)?.info;
    }

    names() {
        return [...this.#entries.keys()].filter((name) => this.info(name));
    }

    value(name) {
        return this.#entries.get(name)?.value;
    }

    /** Calls `listener({value, pending, isHeld, error})` now and after each change. Returns its end. */
    watch(name, listener) {
        const entry = this.#entry(name);
        entry.listeners.add(listener);
        listener(entry);
        return () => entry.listeners.delete(listener);
    }

    /** The same settings for a part of the page that ends: its watches end with it. */
    scope() {
        return new Scope(this);
    }

    /**
     * Sets a setting. While a request is on its way, only the latest value waits behind it.
     * `partner`: value of the partner, for fade or balance only.
     */
    set(name, value, partner) {
        const entry = this.#entry(name);
        entry.next = { value, partner };
        entry.error = null;
        if (!entry.pending) this.#run(entry);
    }

    #entry(name) {
        let entry = this.#entries.get(name);
        if (!entry) {
            entry = { name, value: null, pending: false, isHeld: false, error: null,
                listeners: new Set() };
            this.#entries.set(name, entry);
        }
        return entry;
    }

    // A value from elsewhere does not move a control that is being moved here: the answer will.
    #accept(entry, value) {
        if (entry.pending || entry.isHeld) return;
        entry.value = value;
        this.#tell(entry);
    }

    // The partner of a pair that is being set.
    #hold(entry, isHeld) {
        const partner = PARTNERS[entry.name];
        if (!partner) return;
        this.#entry(partner).isHeld = isHeld;
        this.#tell(this.#entry(partner));
    }

    async #run(entry) {
        entry.pending = true;
        this.#hold(entry, true);
        while (entry.next) {
            const wanted = entry.next;
            entry.next = null;
            this.#tell(entry);
            const request = this.#turn.then(() => this.#request(entry, wanted));
            this.#turn = request;
            await Promise.all([request, wait(PAUSE_MS)]);
        }
        entry.pending = false;
        this.#hold(entry, false);
        this.#tell(entry);
    }

    async #request(entry, { value, partner }) {
        try {
            const answer = await this.#send(entry.name, value, partner);
            entry.error = answer.error?.text ?? null;
            if (typeof answer.partner === "number") {
                this.#entry(PARTNERS[entry.name]).value = answer.partner;
            }
            if (answer.value !== undefined && answer.value !== null) entry.value = answer.value;
            else if (!answer.error) entry.value = value;
        } catch (problem) {
            entry.error = problem.message;
        }
    }

    #tell(entry) {
        for (const listener of [...entry.listeners]) listener(entry);
    }
}

class Scope {
    #settings;
    #ends = [];

    constructor(settings) {
        this.#settings = settings;
    }

    change(changes) {
        this.#settings.change(changes);
    }

    info(name) {
        return this.#settings.info(name);
    }

    names() {
        return this.#settings.names();
    }

    value(name) {
        return this.#settings.value(name);
    }

    set(name, value, partner) {
        this.#settings.set(name, value, partner);
    }

    watch(name, listener) {
        const end = this.#settings.watch(name, listener);
        this.#ends.push(end);
        return end;
    }

    end() {
        for (const end of this.#ends) end();
        this.#ends = [];
    }
}
