// SPDX-License-Identifier: Apache-2.0
// The event stream. A hidden page gives it up, so that neither tool nor server work for it.

export class Feed {
    #listeners;
    #source = null;

    /** `listeners`: functions by event (cabin, settings, live, gone, lost). */
    constructor(listeners) {
        this.#listeners = listeners;
        document.addEventListener("visibilitychange", () => this.#follow());
        this.#follow();
    }

    #follow() {
        if (document.hidden) this.#close();
        else if (!this.#source) this.#open();
    }

    #open() {
        this.#source = new EventSource("events");
        for (const name of ["cabin", "settings", "live", "gone"]) {
            this.#source.addEventListener(name, (event) =>
                this.#listeners[name](JSON.parse(event.data)));
        }
        this.#source.addEventListener("error", () => this.#listeners.lost());
    }

    #close() {
        this.#source?.close();
        this.#source = null;
    }
}
