// SPDX-License-Identifier: Apache-2.0
// Zones, and the streams that are heard there.
import { make, setText } from "./dom.js";
import { textsAreDue } from "./pace.js";

// Softer streams count as silent.
const LEAST_DB = -60;

/** The list in `parent`. */
export function zones(parent, list) {
    const rows = list.map((zone) => ({ zone, text: make("dd") }));
    parent.replaceChildren(...rows.map(({ zone, text }) =>
        make("div", {}, make("dt", {}, zone.name), text)));
    return {
        /** `names`: of the loudspeakers, in the order of the streams' levels. */
        show(streams, names) {
            if (!textsAreDue()) return;
            for (const { zone, text } of rows) setText(text, heardIn(zone, streams, names));
        },
    };
}

function heardIn(zone, streams, names) {
    const indexes = zone.loudspeakers.map((name) => names.indexOf(name));
    return streams.filter(({ state, loudspeakers_db: levels }) => state === "active" &&
        indexes.some((index) => (levels?.[index] ?? -Infinity) > LEAST_DB))
        .map(({ name }) => name).join(", ") || "quiet";
}
