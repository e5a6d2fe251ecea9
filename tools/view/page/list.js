// SPDX-License-Identifier: Apache-2.0
// All settings by their names, with a search; and a form for names that are not listed.
import { settingRow, newId } from "./control.js";
import { keep, make, setText } from "./dom.js";

/** Calls `apply(words)` when other words are searched. */
function search(apply, count) {
    const id = newId("search");
    const input = make("input", { type: "search", id, autocomplete: "off", spellcheck: "false" });
    input.addEventListener("input", () =>
        apply(input.value.toLowerCase().split(/\s+/).filter(Boolean)));
    return make("p", { class: "search" }, make("label", { for: id }, "Search"), input, count);
}

function row(allSettings, name) {
    const settings = allSettings.scope();
    const node = settingRow(settings, name);
    const text = `${name} ${settings.info(name).description ?? ""}`.toLowerCase();
    return {
        node,
        end: () => settings.end(),
        update(words) {
            node.hidden = !words.every((word) => text.includes(word));
        },
    };
}

/** Sets a setting whose name has a part of its own, such as the name of a track. */
function byName(settings, patterns) {
    const [nameId, valueId, listId] = [newId("name"), newId("value"), newId("patterns")];
    const name = make("input", { id: nameId, list: listId, autocomplete: "off", spellcheck: "false" });
    const value = make("input", { id: valueId, autocomplete: "off", spellcheck: "false" });
    const answer = make("span", { class: "answer", role: "status" });
    let end = () => {};
    const send = () => {
        if (!name.value || !value.value) return;
        end();
        settings.set(name.value, value.value);
        end = settings.watch(name.value, ({ value: present, pending, error }) =>
            setText(answer, pending ? "sending" : error ?? `now ${JSON.stringify(present)}`));
    };
    const button = make("button", { type: "button" }, "Set");
    button.addEventListener("click", send);
    value.addEventListener("keydown", (event) => { if (event.key === "Enter") send(); });
    return make("div", { class: "by-name" },
        make("label", { for: nameId }, "Another name"), name,
        make("datalist", { id: listId }, ...patterns.map((one) => make("option", { value: one }))),
        make("label", { for: valueId }, "Value"), value, button, answer);
}

/** The list in `parent`; `update()` after settings came or went. */
export function settingList(settings, parent) {
    const count = make("span", { class: "count", role: "status" });
    const rows = make("div", { class: "rows" });
    let words = [];
    const update = () => {
        const names = settings.names().filter((name) => !name.includes("<"));
        keep(rows, names.map((name) => ({ name })), ({ name }) => name, ({ name }) => {
            const part = row(settings, name);
            return { ...part, update: () => part.update(words) };
        });
        const hidden = rows.querySelectorAll(":scope > [hidden]").length;
        setText(count, `${names.length - hidden} of ${names.length} settings`);
    };
    parent.replaceChildren(
        search((next) => { words = next; update(); }, count), rows,
        byName(settings, settings.names().filter((name) => name.includes("<"))));
    update();
    return { update };
}
