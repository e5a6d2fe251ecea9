// SPDX-License-Identifier: Apache-2.0
// The spectrum of the output.
import { make, setStyle } from "./dom.js";
import { meterPart, UNKNOWN } from "./text.js";

const LABELLED_HZ = [63, 250, 1000, 4000, 10000];
const nearest = (bands, hz) => bands.reduce((best, band) =>
    (Math.abs(Math.log(band.hz / hz)) < Math.abs(Math.log(best.hz / hz)) ? band : best));
const hzText = (hz) => (hz < 1000 ? `${hz} Hz` : `${hz / 1000} kHz`);

/** A bar for each band, and names below some. */
function bars(bands, frame) {
    const named = new Map(bands.length === 0 ? [] : LABELLED_HZ.map((hz) => [nearest(bands, hz), hz]));
    const all = bands.map(() => make("span", { class: "bar" }));
    frame.replaceChildren(...bands.map((band, index) => make("span", { class: "band" },
        make("span", { class: "bar-frame" }, all[index]),
        make("span", { class: "band-name" }, named.has(band) ? hzText(named.get(band)) : ""))));
    return all;
}

/** The output's spectrum: bands with their middle frequency and level. */
export function spectrum(parent, known) {
    const frame = make("div", { class: "bands", role: "img", "aria-label": "Spectrum of the output" });
    parent.replaceChildren(known ? frame : make("p", { class: "nothing" }, UNKNOWN));
    let shown = [];
    return {
        show(bands) {
            if (shown.length !== bands.length) shown = bars(bands, frame);
            bands.forEach(({ db }, index) =>
                setStyle(shown[index], "transform", `scaleY(${meterPart(db)})`));
        },
    };
}
