// SPDX-License-Identifier: Apache-2.0
// Smaller panels: spectrum, captures, the last requests.
import { settingRow } from "./control.js";
import { keep, make, setStyle, setText } from "./dom.js";
import { meter } from "./meter.js";
import { clockText, decibel, meterPart } from "./text.js";

const MOST_REQUESTS = 40;
const UNKNOWN = "Not known to this server.";

/** The server's name of a band, or its number. */
function band(label) {
    const bar = make("span", { class: "bar" });
    const text = make("span", { class: "band-level" });
    const node = make("div", { class: "band", "aria-hidden": "true" },
        make("span", { class: "bar-frame" }, bar), make("span", { class: "band-name" }, label), text);
    return {
        node,
        show(db) {
            setStyle(bar, "transform", `scaleY(${meterPart(db)})`);
            setText(text, decibel(db === null || db === undefined ? null : Math.round(db)));
        },
    };
}

export function spectrum(parent, known) {
    let bands = [];
    const frame = make("div", { class: "bands", role: "img", "aria-label": "Spectrum of the output" });
    parent.replaceChildren(known ? frame : make("p", { class: "nothing" }, UNKNOWN));
    return {
        show(levels) {
            if (bands.length !== levels.length) {
                bands = levels.map((level, index) => band(level?.name ?? `band ${index + 1}`));
                frame.replaceChildren(...bands.map((one) => one.node));
            }
            levels.forEach((level, index) =>
                bands[index].show(typeof level === "object" && level ? level.db : level));
        },
    };
}

const EQUALISERS = /^(eq\.|handsfree\.eq\.|bypass$|reverb\.mode$)/;

/** Settings of the equalisers. Bands appear as sliders where a server has settings for them. */
export function equalisers(settings, parent) {
    const names = settings.names().filter((name) => EQUALISERS.test(name) && !name.includes("<"));
    parent.replaceChildren(...names.map((name) => settingRow(settings, name)));
    if (names.some((name) => settings.info(name).type === "bytes")) {
        parent.append(make("p", { class: "hint" },
            "The bytes of an equaliser's record have a meaning only to its server."));
    }
}

function capture(first) {
    const name = make("h4", {}, first.name);
    const level = meter();
    const about = make("p", { class: "about" });
    const node = make("article", { class: "strip", "data-capture": first.name },
        make("div", { class: "strip-head" }, name, level.label), level.node, about);
    return {
        node,
        update(one) {
            const texts = [one.kind, one.codec && `codec ${one.codec}`, one.ring && `ring ${one.ring}`,
                one.state, one.program, one.overruns > 0 && `overruns ${one.overruns}`];
            setText(about, texts.filter(Boolean).join(" \u00b7 "));
            level.show(one.level_db);
        },
    };
}

export function captures(settings, parent, known) {
    const list = make("div");
    const none = make("p", { class: "nothing" });
    const names = ["uplink.gain", "destination.uplink"].filter((name) => settings.info(name));
    parent.replaceChildren(none, list, ...names.map((name) => settingRow(settings, name)));
    return {
        show(streams) {
            setText(none, !known ? UNKNOWN : streams.length === 0 ? "Nothing is recorded." : "");
            keep(list, streams, (one, index) => one.id ?? `${one.name} ${index}`, capture);
        },
    };
}

function requestRow({ time_ms, who, name, request, status, us }) {
    const failed = status !== 0 && status !== null && status !== undefined;
    return make("tr", failed ? { class: "bad" } : {},
        make("td", {}, clockText(time_ms)), make("td", {}, String(who ?? "")),
        make("td", { class: "request" }, String(name ?? request ?? "")),
        make("td", {}, failed ? String(status) : "ok"),
        make("td", {}, us === null || us === undefined ? "" : String(us)));
}

/** The newest first. Not a live region: it would never be quiet. */
export function requests(parent, known) {
    if (!known) {
        parent.replaceChildren(make("p", { class: "nothing" }, UNKNOWN));
        return { show() {} };
    }
    const rows = make("tbody");
    parent.replaceChildren(make("table", {}, make("thead", {}, make("tr", {},
        ...["time", "program", "request", "answer", "\u00b5s"].map((title) =>
            make("th", { scope: "col" }, title)))), rows));
    return {
        show(list) {
            for (const one of list) rows.prepend(requestRow(one));
            while (rows.children.length > MOST_REQUESTS) rows.lastChild.remove();
        },
    };
}
