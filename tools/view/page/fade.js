// SPDX-License-Identifier: Apache-2.0
// The fade/balance point: dragged in the picture, moved with arrow keys, or set by two sliders.
import { answerLine, slider } from "./control.js";
import { draw, make, setAttribute, setText } from "./dom.js";
import { POINT_AREA } from "./cabin.js";

const KEY_STEP = 5;
const LIMIT = 100;
const KEYS = {
    ArrowUp: [1, 0], ArrowDown: [-1, 0], ArrowLeft: [0, -1], ArrowRight: [0, 1],
    PageUp: [4, 0], PageDown: [-4, 0],
};

const clamp = (value) => Math.round(Math.min(LIMIT, Math.max(-LIMIT, value)));

function side(value, negative, positive) {
    if (value === 0) return null;
    return `${Math.abs(value)} to the ${value < 0 ? negative : positive}`;
}

function describe(fade, balance) {
    const texts = [side(fade, "rear", "front"), side(balance, "left", "right")].filter(Boolean);
    return texts.join(", ") || "centred";
}

function drawPoint() {
    const { x, y, width, height } = POINT_AREA;
    return {
        field: draw("rect", {
            class: "field", x: x - width, y: y - height, width: 2 * width, height: 2 * height, rx: 16,
        }),
        across: draw("path", { class: "axis", d: `M${x - width} 0h${2 * width}` }),
        along: draw("path", { class: "axis", d: `M0 ${y - height}v${2 * height}` }),
        handle: draw("g", {
            class: "handle", tabindex: 0, role: "slider", "aria-label": "Fade and balance",
            "aria-roledescription": "point with two directions",
            "aria-valuemin": -LIMIT, "aria-valuemax": LIMIT, "aria-valuenow": 0,
        },
        draw("circle", { class: "reach", r: 26 }), draw("circle", { class: "halo", r: 17 }),
        draw("circle", { class: "knob", r: 10 })),
    };
}

class Point {
    #settings;
    #picture;
    #shapes = drawPoint();
    #held = false;
    #fade = 0;
    #balance = 0;

    constructor(settings, picture) {
        this.#settings = settings;
        this.#picture = picture;
        const { field, across, along, handle } = this.#shapes;
        picture.append(draw("g", { class: "point" }, field, across, along, handle));
        handle.addEventListener("pointerdown", (event) => this.#take(event));
        field.addEventListener("pointerdown", (event) => {
            if (event.pointerType === "mouse") this.#take(event);
        });
        picture.addEventListener("pointermove", (event) => this.#drag(event));
        for (const end of ["pointerup", "pointercancel", "lostpointercapture"]) {
            picture.addEventListener(end, () => this.#release());
        }
        handle.addEventListener("keydown", (event) => this.#key(event));
        handle.addEventListener("dblclick", () => this.#move(0, 0));
        settings.watch("fade", (entry) => this.#accept("fade", entry));
        settings.watch("balance", (entry) => this.#accept("balance", entry));
        this.#show();
    }

    get #disabled() {
        return this.#picture.closest("fieldset")?.disabled;
    }

    #take(event) {
        if (this.#disabled) return;
        this.#held = true;
        this.#picture.setPointerCapture(event.pointerId);
        this.#shapes.handle.focus({ preventScroll: true });
        event.preventDefault();
        this.#drag(event);
    }

    #drag(event) {
        if (!this.#held) return;
        const matrix = this.#picture.getScreenCTM().inverse();
        const at = new DOMPoint(event.clientX, event.clientY).matrixTransform(matrix);
        const { x, y, width, height } = POINT_AREA;
        this.#move((y - at.y) / height * LIMIT, (at.x - x) / width * LIMIT);
    }

    #release() {
        this.#held = false;
    }

    #key(event) {
        if (this.#disabled || event.ctrlKey || event.altKey || event.metaKey) return;
        if (event.key === "Home") this.#move(0, 0);
        else if (event.key in KEYS) {
            const [fade, balance] = KEYS[event.key];
            const step = event.shiftKey ? 1 : KEY_STEP;
            this.#move(this.#fade + fade * step, this.#balance + balance * step);
        } else return;
        event.preventDefault();
    }

    /** Both values go in one request, so that the last one has both. */
    moveTo({ fade = this.#fade, balance = this.#balance }) {
        this.#move(fade, balance);
    }

    #move(fade, balance) {
        const before = [this.#fade, this.#balance];
        [this.#fade, this.#balance] = [clamp(fade), clamp(balance)];
        if (this.#fade === before[0] && this.#balance === before[1]) return;
        this.#settings.set("fade", this.#fade, this.#balance);
        this.#show();
    }

    #accept(name, { value, pending, isHeld }) {
        if (this.#held || pending || isHeld || typeof value !== "number") return;
        if (name === "fade") this.#fade = value;
        else this.#balance = value;
        this.#show();
    }

    #show() {
        const { across, along, handle } = this.#shapes;
        const x = POINT_AREA.x + this.#balance / LIMIT * POINT_AREA.width;
        const y = POINT_AREA.y - this.#fade / LIMIT * POINT_AREA.height;
        setAttribute(handle, "transform", `translate(${x} ${y})`);
        setAttribute(across, "transform", `translate(0 ${y})`);
        setAttribute(along, "transform", `translate(${x} 0)`);
        setAttribute(handle, "aria-valuenow", this.#fade);
        setAttribute(handle, "aria-valuetext", describe(this.#fade, this.#balance));
    }
}

function row(settings, name, label, [low, high], send) {
    const text = make("output", { class: "value" });
    settings.watch(name, ({ value }) => setText(text, typeof value === "number" ? String(value) : ""));
    return make("div", { class: "axis-row" },
        make("span", { class: "axis-name" }, label), make("span", { class: "end" }, low),
        slider(settings, name, label, { minimum: -LIMIT, maximum: LIMIT, step: 1, unit: null }, send),
        make("span", { class: "end" }, high), text);
}

/** The point in `picture` and its sliders in `parent`. */
export function fadeAndBalance(settings, picture, parent) {
    const point = new Point(settings, picture);
    parent.append(
        row(settings, "fade", "Fade", ["rear", "front"], (fade) => point.moveTo({ fade })),
        row(settings, "balance", "Balance", ["left", "right"], (balance) => point.moveTo({ balance })),
        answerLine(settings, ["fade", "balance"], parent));
}
