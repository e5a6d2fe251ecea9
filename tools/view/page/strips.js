// SPDX-License-Identifier: Apache-2.0
// Playback streams as strips: level, volume, mute of the path, queue, underruns, state.
import { answerLine, gainSlider, toggle } from "./control.js";
import { keep, make, setText } from "./dom.js";
import { meter } from "./meter.js";
import { textsAreDue } from "./pace.js";
import { number } from "./text.js";

function controls(settings, stream, frame) {
    const { name, output, volume, volume_setting: gain } = stream;
    const mute = `mute.${output}`;
    const nodes = [];
    if (gain) {
        if (!settings.info(gain)) settings.change({ [gain]: volume });
        nodes.push(...gainSlider(settings, gain, `Volume of ${name}`));
    }
    if (settings.info(mute)) {
        nodes.push(toggle(settings, mute, `Mute path ${output}, with ${name}`, "muted", "mute"));
    }
    return [make("div", { class: "strip-controls" }, ...nodes),
        answerLine(settings, gain ? [gain, mute] : [mute], frame)];
}

function about({ program, pid, tag, type, kind }) {
    const who = `${program || "unknown program"}${pid ? ` ${pid}` : ""}`;
    return `${who} \u00b7 ${tag}${kind === "sink" ? " sink" : ""} \u00b7 ${type}`;
}

function stateOf({ state, source }) {
    return source === "withdrawn" ? "withdrawn" : state;
}

function duckText(stream) {
    return (stream.ducked_by ?? []).map(({ name, db }) =>
        `lowered by ${name}: ${number(db, 0)} dB`).join(", ");
}

/** The texts of a strip. */
function texts() {
    return {
        name: make("h4", { class: "strip-name" }),
        state: make("span", { class: "state" }),
        origin: make("p", { class: "about" }),
        queue: make("span"),
        underruns: make("span"),
        ducked: make("span", { class: "ducked" }),
    };
}

function write(text, stream) {
    setText(text.name, stream.name);
    setText(text.state, stateOf(stream));
    setText(text.origin, about(stream));
    setText(text.queue, `queue ${Math.round((stream.queue_ms ?? 0) / 4) * 4} ms`);
    setText(text.underruns, `underruns ${stream.underruns}`);
    text.underruns.classList.toggle("bad", stream.underruns > 0);
    setText(text.ducked, duckText(stream));
}

function strip(allSettings, first) {
    const settings = allSettings.scope();
    const text = texts();
    const level = meter();
    const node = make("article", { class: "strip", "data-stream": first.name });
    node.append(
        make("div", { class: "strip-head" }, text.name, text.state, level.label),
        level.node, text.origin, ...controls(settings, first, node),
        make("p", { class: "counts" }, text.queue, text.underruns, text.ducked));
    return {
        node,
        end: () => settings.end(),
        update(stream) {
            level.show(stream.state === "active" ? stream.level_db : null);
            if (!textsAreDue() && text.name.textContent === stream.name) return;
            write(text, stream);
            node.classList.toggle("muted", Boolean(stream.muted));
            // A track's volume may have no description; its value is here.
            const gain = stream.volume_setting;
            if (gain && !settings.info(gain)) settings.change({ [gain]: stream.volume });
        },
    };
}

/** Strips in `parent`. `show(streams)` returns true if strips came, went or moved. */
export function strips(settings, parent) {
    return {
        show: (streams) => keep(parent, streams, (stream) => stream.id,
            (stream) => strip(settings, stream)),
        node: (id) => parent.keptParts?.get(id)?.node,
    };
}

/** Who lowers whom, and by how much; empty while nobody does. */
export function duckingText(streams) {
    return streams.flatMap((stream) => (stream.ducked_by ?? []).map(({ name, db }) =>
        `${name} lowers ${stream.name} by ${number(Math.abs(db), 0)} dB`)).join(", ");
}
