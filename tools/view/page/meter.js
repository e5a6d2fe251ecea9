// SPDX-License-Identifier: Apache-2.0
// A level meter from -60 to 0 dB. Screen readers read its text beside it, when they are asked to.
import { make, setStyle, setText } from "./dom.js";
import { levelText, meterPart } from "./text.js";

// A number that changes faster cannot be read, and each change costs a layout.
const TEXT_PAUSE_MS = 350;

/** Returns {node, label, show(db)}. A cover is scaled over a fixed gradient, without a layout. */
export function meter() {
    const cover = make("span", { class: "cover" });
    const node = make("span", { class: "meter", "aria-hidden": "true" }, cover);
    const label = make("span", { class: "level" });
    let writtenAt = -TEXT_PAUSE_MS;
    return {
        node,
        label,
        show(db) {
            setStyle(cover, "transform", `scaleX(${1 - meterPart(db)})`);
            const now = performance.now();
            if (now - writtenAt < TEXT_PAUSE_MS) return;
            writtenAt = now;
            setText(label, levelText(db));
        },
    };
}
