// SPDX-License-Identifier: Apache-2.0
// Playback streams as strips: level, volume, mute of the path, queue, underruns, state.
import { answerLine, gainSlider, toggle } from "./control.js";
import { keep, make, setText } from "./dom.js";
import { meter } from "./meter.js";
import { number } from "./text.js";

const TAGS_WITH_VOLUME = ["main", "alternative", "auxiliary"];
/** The path of a stream by its tag: invocation outputs play on the second path. */
export const pathOf = (stream) => (TAGS_WITH_VOLUME.includes(stream.kind) ? stream.kind : "second");

function volumePart(settings, stream, frame) {
    const path = pathOf(stream);
    const nodes = [];
    const names = [];
    if (TAGS_WITH_VOLUME.includes(stream.kind)) {
        const name = `volume.track.${stream.kind}.${stream.name}`;
        if (settings.value(name) === null && typeof stream.volume === "number") {
            settings.change({ [name]: stream.volume });
        }
        nodes.push(...gainSlider(settings, name, `Volume of ${stream.name}`));
        names.push(name);
    }
    const mute = `mute.${path}`;
    if (settings.info(mute)) {
        nodes.push(toggle(settings, mute, `Mute path ${path}`, "muted", "mute"));
        names.push(mute);
    }
    return [make("div", { class: "strip-controls" }, ...nodes), answerLine(settings, names, frame)];
}

function details(stream) {
    const type = stream.type && stream.type !== stream.kind ? ` \u00b7 ${stream.type}` : "";
    const pid = stream.pid ? ` (${stream.pid})` : "";
    return `${stream.program || "unknown program"}${pid} \u00b7 ${stream.kind}${type}`;
}

function duckText(stream) {
    return (stream.ducked_by ?? []).map(({ name, db }) =>
        `lowered by ${name}: ${number(db, 0)} dB`).join(", ");
}

function strip(allSettings, first) {
    const settings = allSettings.scope();
    const name = make("h4", { class: "strip-name" });
    const state = make("span", { class: "state" });
    const about = make("p", { class: "about" });
    const level = meter();
    const queue = make("span");
    const underruns = make("span");
    const ducked = make("span", { class: "ducked" });
    const node = make("article", { class: "strip", "data-stream": first.name });
    node.append(
        make("div", { class: "strip-head" }, name, state, level.label),
        level.node, about, ...volumePart(settings, first, node),
        make("p", { class: "counts" }, queue, underruns, ducked));
    return {
        node,
        end: () => settings.end(),
        update(stream) {
            setText(name, stream.name);
            setText(state, stream.state);
            setText(about, details(stream));
            level.show(stream.state === "active" ? stream.level_db : null);
            setText(queue, `queue ${Math.round((stream.queue_ms ?? 0) / 4) * 4} ms`);
            setText(underruns, `underruns ${stream.underruns}`);
            underruns.classList.toggle("bad", stream.underruns > 0);
            setText(ducked, duckText(stream));
            node.classList.toggle("muted", Boolean(stream.muted));
            if (typeof stream.volume === "number" && TAGS_WITH_VOLUME.includes(stream.kind)) {
                settings.change({ [`volume.track.${stream.kind}.${stream.name}`]: stream.volume });
            }
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
