// SPDX-License-Identifier: Apache-2.0
// The cabin from above: body, seats, loudspeakers that glow by level. The front is at the top.
import { draw, setStyle } from "./dom.js";
import { meterPart } from "./text.js";

// Places in the drawing, by a loudspeaker's name; positions name the same places.
const PLACES = {
    LF: [69, 214], RF: [251, 214], LS: [69, 376], RS: [251, 376], CF: [160, 168], L1: [160, 478],
};
const POSITIONS = {
    "front-left": "LF", "front-right": "RF", "rear-left": "LS", "rear-right": "RS",
    centre: "CF", center: "CF", subwoofer: "L1", "low-frequency": "L1",
};
/** The area of the fade/balance point: centre, half width, half height. */
export const POINT_AREA = { x: 160, y: 296, width: 74, height: 98 };

function seat(x, y, width) {
    const w = width;
    return draw("g", { class: "seat" },
        draw("rect", { x: x - w / 2, y, width: w, height: 62, rx: 13 }),
        draw("rect", { x: x - w / 2 + 3, y: y + 50, width: w - 6, height: 22, rx: 10 }),
        draw("rect", { x: x - 15, y: y + 66, width: 30, height: 12, rx: 6 }));
}

function wheel(x, y) {
    return draw("rect", { class: "wheel", x, y, width: 16, height: 58, rx: 7 });
}

function body() {
    return draw("g", { class: "body" },
        wheel(34, 92), wheel(270, 92), wheel(34, 412), wheel(270, 412),
        draw("path", { class: "mirror", d: "M46 176 q-18 -6 -22 8 q2 8 22 6z" }),
        draw("path", { class: "mirror", d: "M274 176 q18 -6 22 8 q-2 8 -22 6z" }),
        draw("path", { class: "shell", d: "M88 26 Q160 4 232 26 Q270 40 274 104 L280 250 L276 428 " +
            "Q274 506 238 524 Q160 544 82 524 Q46 506 44 428 L40 250 L46 104 Q50 40 88 26Z" }),
        draw("path", { class: "crease", d: "M98 40 Q88 90 84 122 M222 40 Q232 90 236 122" }),
        draw("path", { class: "lamp", d: "M66 52 Q80 34 100 30 M254 52 Q240 34 220 30" }),
        draw("path", { class: "glass", d: "M74 132 Q160 98 246 132 L236 166 Q160 142 84 166Z" }),
        draw("path", { class: "glass", d: "M82 452 Q160 470 238 452 L246 486 Q160 510 74 486Z" }),
        draw("path", { class: "glass", d: "M62 164 L72 184 L70 440 L58 470 Q52 420 52 300 Q54 200 62 164Z" }),
        draw("path", { class: "glass", d: "M258 164 L248 184 L250 440 L262 470 Q268 420 268 300 " +
            "Q266 200 258 164Z" }),
        draw("path", { class: "cabin-floor", d: "M84 172 Q160 148 236 172 L240 300 L236 444 " +
            "Q160 460 84 444 L80 300Z" }));
}

function furniture() {
    return draw("g", {},
        draw("circle", { class: "steering", cx: 117, cy: 190, r: 16 }),
        draw("path", { class: "steering", d: "M101 190 h32 M117 190 v16" }),
        seat(118, 214, 52), seat(202, 214, 52),
        seat(107, 352, 46), seat(160, 352, 46), seat(213, 352, 46));
}

function loudspeaker([x, y], name) {
    const glow = draw("circle", { class: "glow", cx: x, cy: y, r: 46, fill: "url(#glow)" });
    const node = draw("g", { class: "loudspeaker", "data-name": name }, glow,
        draw("circle", { class: "rim", cx: x, cy: y, r: 13 }),
        draw("circle", { class: "cone", cx: x, cy: y, r: 5 }),
        draw("text", { x, y: y + 26 }, name));
    const show = (db, muted) => {
        // Silence does not glow; -60 dB just shows. Ten steps keep repaints rare.
        const part = db === null || db === undefined ? 0 : 0.12 + 0.88 * meterPart(db);
        setStyle(glow, "opacity", String(muted ? 0 : Math.round(part * 10) / 10));
        node.classList.toggle("off", Boolean(muted));
    };
    show(null, false);
    return { name, node, show };
}

function gradient() {
    return draw("defs", {}, draw("radialGradient", { id: "glow" },
        draw("stop", { class: "glow-inner", offset: "20%" }),
        draw("stop", { class: "glow-outer", offset: "100%" })));
}

/** Draws the cabin into `parent`. Returns {picture, load(loudspeakers), show(levels)}. */
export function cabin(parent) {
    const speakers = draw("g");
    const picture = draw("svg", {
        viewBox: "0 0 320 548", class: "picture", role: "group", "aria-label": "The cabin from above",
    }, gradient(), body(), furniture(), speakers);
    parent.append(picture);
    let shown = [];
    return {
        picture,
        load(list) {
            shown = list.map(({ name, position }, index) => loudspeaker(
                PLACES[name] ?? PLACES[POSITIONS[position]] ?? [40 + 34 * (index % 8), 20], name));
            speakers.replaceChildren(...shown.map((one) => one.node));
        },
        /** `levels`: what is known of the loudspeakers, by name. */
        show(levels) {
            for (const { name, show } of shown) show(levels.get(name)?.peak_db, levels.get(name)?.muted);
        },
    };
}
