// SPDX-License-Identifier: Apache-2.0
// Elements. Text always becomes a text node: names come from programs and may hold anything.

const SVG = "http://www.w3.org/2000/svg";

function fill(node, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) {
        if (value !== null && value !== undefined) node.setAttribute(name, value);
    }
    node.append(...children);
    return node;
}

/** An HTML element. Children are nodes or texts. */
export function make(tag, attributes = {}, ...children) {
    return fill(document.createElement(tag), attributes, children);
}

/** An SVG element. */
export function draw(tag, attributes = {}, ...children) {
    return fill(document.createElementNS(SVG, tag), attributes, children);
}

export function byId(id) {
    return document.getElementById(id);
}

/** Writes only a changed text, because each write costs a layout. */
export function setText(node, text) {
    if (node.textContent !== text) node.textContent = text;
}

export function setAttribute(node, name, value) {
    const text = String(value);
    if (node.getAttribute(name) !== text) node.setAttribute(name, text);
}

/** Writes only a changed style. A style of its own per element needs no inline style attribute. */
export function setStyle(node, name, value) {
    node.styleCache ??= {};
    if (node.styleCache[name] === value) return;
    node.styleCache[name] = value;
    node.style.setProperty(name, value);
}

/**
 * Keeps one child of `parent` per item, by key, in the items' order. `create(item)` returns
 * {node, update(item), end()}; end is optional. Returns true if children came, went or moved.
 */
export function keep(parent, items, keyOf, create) {
    const kept = parent.keptParts ?? new Map();
    const next = new Map();
    items.forEach((item, index) => {
        const key = keyOf(item, index);
        next.set(key, kept.get(key) ?? create(item));
    });
    for (const [key, part] of kept) if (!next.has(key)) part.end?.();
    const changed = [...kept.keys()].join("\n") !== [...next.keys()].join("\n");
    if (changed) parent.replaceChildren(...[...next.values()].map((part) => part.node));
    parent.keptParts = next;
    items.forEach((item, index) => next.get(keyOf(item, index)).update(item));
    return changed;
}
