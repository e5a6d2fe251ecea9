// SPDX-License-Identifier: Apache-2.0
// Smaller panels: spectrum, captures, the last requests.
import { settingRow } from "./control.js";
import { keep, make, setStyle, setText } from "./dom.js";
import { meter } from "./meter.js";
import { clockText, meterPart } from "./text.js";

const MOST_REQUESTS = 40;
const UNKNOWN = "Not known to this server.";

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
    const name = make("h3", {}, first.name);
    const level = meter();
    const about = make("p", { class: "about" });
    const node = make("article", { class: "strip", "data-capture": first.name },
        make("div", { class: "strip-head" }, name, level.label), level.node, about);
    return {
        node,
        update(one) {
            const texts = [one.program, one.tag, one.codec && `codec ${one.codec}`,
                one.ring && `ring ${one.ring}`, one.state, one.overruns > 0 && `overruns ${one.overruns}`];
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
            keep(list, streams, (one) => one.id, capture);
        },
    };
}

function requestRow({ time_ms, who, request, status, us }) {
    const failed = status !== 0 && status !== null && status !== undefined;
    return make("tr", failed ? { class: "bad" } : {},
        make("td", {}, clockText(time_ms)), make("td", {}, String(who ?? "")),
        make("td", { class: "request" }, String(request ?? "")),
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
        ...["time", "from", "request", "reply", "\u00b5s"].map((title) =>
            make("th", { scope: "col" }, title)))), rows));
    return {
        show(list) {
            for (const one of list) rows.prepend(requestRow(one));
            while (rows.children.length > MOST_REQUESTS) rows.lastChild.remove();
        },
    };
}
