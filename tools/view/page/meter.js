// SPDX-License-Identifier: Apache-2.0
// A level meter from -60 to 0 dB. Screen readers read its text beside it, when they are asked to.
import { make, setStyle, setText } from "./dom.js";
import { textsAreDue } from "./pace.js";
import { levelText, meterPart } from "./text.js";

/** Returns {node, label, show(db)}. A cover is scaled over a fixed gradient, without a layout. */
export function meter() {
    const cover = make("span", { class: "cover" });
    const node = make("span", { class: "meter", "aria-hidden": "true" }, cover);
    const label = make("span", { class: "level" });
    return {
        node,
        label,
        show(db) {
            setStyle(cover, "transform", `scaleX(${1 - meterPart(db)})`);
            if (textsAreDue() || label.textContent === "") setText(label, levelText(db));
        },
    };
}
