// SPDX-License-Identifier: Apache-2.0
// The way of the sound: streams, paths, mixer, loudspeakers, and the lines between them. A line is
// as visible as the sound on it is loud.
import { answerLine, gainSlider, settingRow, toggle } from "./control.js";
import { draw, make, setAttribute, setStyle, setText } from "./dom.js";
import { meter } from "./meter.js";
import { textsAreDue } from "./pace.js";
import { strips } from "./strips.js";
import { meterPart } from "./text.js";

function pathCard(settings, { name, volume, mute }) {
    const names = [volume, mute].filter((one) => one && settings.info(one));
    const node = make("article", { class: "path" });
    const head = make("div", { class: "strip-head" }, make("h4", {}, name));
    node.append(head);
    if (names.includes(mute)) head.append(toggle(settings, mute, `Mute path ${name}`, "muted", "mute"));
    if (names.includes(volume)) node.append(gainPart(settings, volume, `Volume of path ${name}`));
    node.append(answerLine(settings, names, node));
    return node;
}

function gainPart(settings, name, label) {
    return make("div", { class: "path-controls" }, ...gainSlider(settings, name, label));
}

function mixerCard(settings, master) {
    const node = make("article", { class: "mixer" }, make("h4", {}, "Master"));
    if (settings.info(master)) {
        node.append(gainPart(settings, master, "Master volume"), answerLine(settings, [master], node));
    }
    for (const name of ["ducking.mode", "ducking.target", "duck"]) {
        if (settings.info(name)) node.append(settingRow(settings, name));
    }
    return node;
}

function loudspeakerCard(settings, { name }) {
    const level = meter();
    const node = make("article", { class: "speaker", "data-name": name });
    const gain = `volume.channel.${name}`;
    node.append(make("div", { class: "strip-head" }, make("h4", {}, name), level.label), level.node);
    if (settings.info(gain)) {
        node.append(gainPart(settings, gain, `Volume of loudspeaker ${name}`),
            answerLine(settings, [gain], node));
    }
    return { name, node, show: level.show };
}

function column(title, ...children) {
    return make("div", { class: "column" }, make("h3", {}, title), ...children);
}

function curve(from, to, origin) {
    const x1 = from.right - origin.left;
    const y1 = from.top + Math.min(28, from.height / 2) - origin.top;
    const x2 = to.left - origin.left;
    const y2 = to.top + Math.min(28, to.height / 2) - origin.top;
    const bend = (x2 - x1) / 2;
    return `M${x1} ${y1}C${x1 + bend} ${y1} ${x2 - bend} ${y2} ${x2} ${y2}`;
}

class Flow {
    #settings;
    #parent;
    #list = make("div", { class: "strips" });
    #none = make("p", { class: "nothing" });
    #lines = draw("svg", { class: "lines", "aria-hidden": "true" });
    #strips;
    #paths = new Map();
    #speakers = [];
    #mixer = null;
    #edges = [];
    #wanted = [];  // streams and their paths
    #stale = true;
    #known = true;
    #scope = null;

    constructor(settings, parent) {
        this.#settings = settings;
        this.#parent = parent;
        this.#strips = strips(settings, this.#list);
        new ResizeObserver(() => this.#layOut()).observe(parent);
    }

    /** After a connection to a server. */
    load({ loudspeakers, paths, master, known }) {
        this.#scope?.end();
        this.#scope = this.#settings.scope();
        const settings = this.#scope;
        this.#paths = new Map(paths.map((path) => [path.name, pathCard(settings, path)]));
        this.#speakers = loudspeakers.map((one) => loudspeakerCard(settings, one));
        this.#mixer = mixerCard(settings, master);
        this.#known = known;
        this.#parent.replaceChildren(this.#lines,
            column("Streams", this.#none, this.#list),
            column("Paths", ...this.#paths.values()),
            column("Mixer", this.#mixer),
            column("Loudspeakers", ...this.#speakers.map((one) => one.node)));
        this.show([], new Map());
    }

    show(streams, levels) {
        if (!this.#mixer) return;
        setText(this.#none, !this.#known ? "Levels and streams are not known to this server."
            : streams.length === 0 ? "No stream plays." : "");
        if (this.#strips.show(streams)) this.#stale = true;
        for (const { name, show } of this.#speakers) show(levels.get(name)?.peak_db);
        if (this.#stale) this.#layOut(streams);
        if (textsAreDue()) this.#light(streams, levels);
    }

    // Geometry is read only when parts came, went or changed their size.
    #layOut(streams = null) {
        if (!this.#mixer) return;
        if (streams) this.#wanted = streams.map(({ id, output }) => ({ id, path: output }));
        this.#stale = false;
        const origin = this.#parent.getBoundingClientRect();
        const place = (node) => node.getBoundingClientRect();
        const edges = [];
        for (const { id, path } of this.#wanted) {
            const node = this.#strips.node(id);
            const to = this.#paths.get(path);
            if (node && to) edges.push({ stream: id, from: node, to });
        }
        for (const [path, node] of this.#paths) edges.push({ path, from: node, to: this.#mixer });
        for (const { name, node } of this.#speakers) {
            edges.push({ speaker: name, from: this.#mixer, to: node });
        }
        const shapes = edges.map(({ from, to }) => curve(place(from), place(to), origin));
        this.#edges = edges.map((edge, index) =>
            ({ ...edge, line: draw("path", { d: shapes[index] }) }));
        this.#lines.replaceChildren(...this.#edges.map(({ line }) => line));
        setAttribute(this.#lines, "width", Math.round(origin.width));
        setAttribute(this.#lines, "height", Math.round(origin.height));
    }

    #light(streams, levels) {
        const byId = new Map();
        const byPath = new Map();
        for (const stream of streams) {
            const part = stream.state === "active" && !stream.muted ? meterPart(stream.level_db) : 0;
            byId.set(stream.id, part);
            byPath.set(stream.output, Math.max(byPath.get(stream.output) ?? 0, part));
        }
        for (const { stream, path, speaker, line } of this.#edges) {
            const part = stream !== undefined ? byId.get(stream)
                : path !== undefined ? byPath.get(path) : meterPart(levels.get(speaker)?.peak_db);
            // Five steps: each change repaints the lines.
            setStyle(line, "opacity", String(0.15 + Math.ceil((part ?? 0) * 4) / 4 * 0.85));
        }
    }
}

export function flow(settings, parent) {
    return new Flow(settings, parent);
}
