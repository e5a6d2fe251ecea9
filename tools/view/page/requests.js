// SPDX-License-Identifier: Apache-2.0
// The last requests by name.
import { make } from "./dom.js";
import { clockText, UNKNOWN } from "./text.js";

const MOST_REQUESTS = 40;

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
