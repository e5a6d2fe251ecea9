// SPDX-License-Identifier: Apache-2.0
// Controls of settings: one for each type of setting. Each shows a change on its way, then the
// server's answer; a refusal stays beside the control until the next change.
import { make, setAttribute, setText } from "./dom.js";
import { valueText } from "./text.js";

const LOUDSPEAKERS = ["LF", "RF", "LS", "RS", "CF", "L1"];
const SLIDER_LEAST_DB = -60;
const LARGEST_SLIDER = 2000;

let idCount = 0;
export const newId = (prefix) => `${prefix}-${++idCount}`;

/** The place of answers: "sending" or the refusal. */
function answerOf(settings, name, frame) {
    const node = make("span", { class: "answer", role: "status", id: newId("answer") });
    settings.watch(name, ({ pending, error }) => {
        setText(node, error ?? "");
        frame.classList.toggle("pending", pending);
        frame.classList.toggle("refused", Boolean(error));
    });
    return node;
}

/** A slider of a number. While it is being moved, values from the server do not move it. */
export function slider(settings, name, label, range,
    send = (value) => settings.set(name, value)) {
    const input = make("input", {
        type: "range", min: range.minimum, max: range.maximum, step: range.step, "aria-label": label,
    });
    input.addEventListener("input", () => send(Number(input.value)));
    settings.watch(name, ({ value, pending, isHeld }) => {
        if (typeof value !== "number") return;
        if (!pending && !isHeld) input.value = value;
        setAttribute(input, "aria-valuetext", valueText(Number(input.value), range.unit));
    });
    return input;
}

/** A slider of a gain, with its value as text. Returns nodes. */
export function gainSlider(settings, name, label) {
    const info = settings.info(name);
    const input = slider(settings, name, label, {
        minimum: SLIDER_LEAST_DB, maximum: info?.maximum ?? 24, step: 0.5, unit: "dB",
    });
    const text = make("output", { class: "value" });
    settings.watch(name, ({ value }) => setText(text, valueText(value, "dB")));
    return [input, text];
}

/** A switch; `on` and `off` are its texts. */
export function toggle(settings, name, label, on = "on", off = "off") {
    const button = make("button", { type: "button", role: "switch", "aria-label": label });
    button.addEventListener("click", () => {
        settings.set(name, button.getAttribute("aria-checked") !== "true");
    });
    settings.watch(name, ({ value, next }) => {
        const shown = next ? next.value : value;
        setAttribute(button, "aria-checked", shown === true);
        setText(button, shown === true ? on : off);
    });
    return button;
}

/** True while somebody types: a value from the server must not replace the text then. */
function typing(input) {
    let isTyping = false;
    input.addEventListener("input", () => { isTyping = true; });
    for (const end of ["change", "blur"]) {
        input.addEventListener(end, () => { isTyping = false; });
    }
    return () => isTyping;
}

function entryField(settings, name, label, attributes, read, write) {
    const input = make("input", { ...attributes, "aria-label": label });
    const isTyping = typing(input);
    input.addEventListener("change", () => {
        if (input.value !== "") settings.set(name, read(input.value));
    });
    settings.watch(name, ({ value, pending }) => {
        if (pending || isTyping() || value === null || value === undefined) return;
        input.value = write(value);
        // A word, such as off, is no number.
        if (input.value === "") input.placeholder = String(value);
    });
    return input;
}

function numberField(settings, name, label, info) {
    return entryField(settings, name, label, {
        type: "number", step: "any", min: info.minimum, max: info.maximum, class: "number",
        placeholder: info.value === null ? "?" : null,
    }, Number, (value) => (typeof value === "number" ? String(value) : ""));
}

/** Several numbers, such as left and right: all are sent together. */
function numberFields(settings, name, info) {
    const count = Array.isArray(settings.value(name)) ? settings.value(name).length : info.count;
    const inputs = Array.from({ length: count }, (_, index) => make("input", {
        type: "number", step: "any", min: info.minimum, max: info.maximum, class: "number",
        "aria-label": `${name}, number ${index + 1}`,
    }));
    const areTyped = inputs.map(typing);
    for (const input of inputs) {
        input.addEventListener("change", () => {
            if (inputs.every((one) => one.value !== "")) {
                settings.set(name, inputs.map((one) => Number(one.value)));
            }
        });
    }
    settings.watch(name, ({ value, pending }) => {
        if (pending || !Array.isArray(value) || areTyped.some((isTyping) => isTyping())) return;
        inputs.forEach((input, index) => { input.value = value[index]; });
    });
    return inputs;
}

/** Words that a number may be instead, such as start or off: a button each. */
function words(settings, name, info) {
    return (info.choices ?? []).map((word) => {
        const button = make("button", { type: "button", "aria-label": `${name}: ${word}` }, word);
        button.addEventListener("click", () => settings.set(name, word));
        return button;
    });
}

/** Some of the loudspeakers, as LF+RF or none. */
function loudspeakers(settings, name) {
    const boxes = LOUDSPEAKERS.map((speaker) => make("input", { type: "checkbox", value: speaker }));
    for (const box of boxes) {
        box.addEventListener("change", () => {
            const on = boxes.filter((one) => one.checked).map((one) => one.value);
            settings.set(name, on.join("+") || "none");
        });
    }
    settings.watch(name, ({ value, pending }) => {
        if (pending || typeof value !== "string") return;
        const on = value.split("+");
        for (const box of boxes) box.checked = on.includes(box.value);
    });
    return make("span", { class: "boxes", role: "group", "aria-label": name },
        ...boxes.map((box) => make("label", {}, box, box.value)));
}

function readOnly(settings, name, info) {
    const text = make("output", { class: "value", "aria-label": name });
    settings.watch(name, ({ value }) => setText(text, valueText(value, info.unit)));
    return text;
}

function span({ minimum, maximum }) {
    const known = typeof minimum === "number" && typeof maximum === "number";
    return known ? maximum - minimum : Infinity;
}

function scalar(settings, name, info) {
    const field = numberField(settings, name, info.unit ? `${name} in ${info.unit}` : name, info);
    const unit = make("span", { class: "unit" }, info.unit ?? "");
    // A slider cannot show that the value is unknown, or a word.
    if (info.value === null || info.choices || span(info) > LARGEST_SLIDER) return [field, unit];
    const isGain = info.type === "gain";
    const range = {
        minimum: isGain ? Math.max(info.minimum, SLIDER_LEAST_DB) : info.minimum,
        maximum: info.maximum,
        step: info.type === "integer" || span(info) > 200 ? 1 : 0.5,
        unit: info.unit,
    };
    return [slider(settings, name, `${name} slider`, range), field, unit];
}

function numeric(settings, name, info) {
    const buttons = words(settings, name, info);
    if (buttons.length > 0 && span(info) === 0) return buttons;
    if (Array.isArray(info.value) || info.count > 1) {
        return [...numberFields(settings, name, info),
            make("span", { class: "unit" }, info.unit ?? "")];
    }
    return [...buttons, ...scalar(settings, name, info)];
}

function parts(settings, name, info) {
    if (!info.writable) return [readOnly(settings, name, info)];
    if (info.type === "switch") return [toggle(settings, name, name)];
    if (info.type === "loudspeakers") return [loudspeakers(settings, name)];
    if (["gain", "number", "integer"].includes(info.type)) return numeric(settings, name, info);
    return [entryField(settings, name, name,
        { type: "text", class: info.type === "bytes" ? "bytes" : "text" }, String, String)];
}

/** The row of a setting: name, description, control, answer. */
export function settingRow(settings, name) {
    const info = settings.info(name);
    const controls = make("span", { class: "parts" }, ...parts(settings, name, info));
    const node = make("div", { class: "setting", "data-name": name },
        make("span", { class: "names" },
            make("span", { class: "name" }, name),
            make("span", { class: "what" }, info.description ?? "")),
        controls);
    node.append(answerOf(settings, name, node));
    return node;
}

/** An answer for controls that stand elsewhere, such as in a stream's strip. */
export function answerLine(settings, names, frame) {
    const node = make("p", { class: "answer", role: "status" });
    const errors = new Map();
    for (const name of names) {
        settings.watch(name, ({ pending, error }) => {
            errors.set(name, error);
            setText(node, [...errors.values()].filter(Boolean).join("; "));
            frame.classList.toggle("pending", pending);
        });
    }
    return node;
}
