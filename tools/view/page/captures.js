// SPDX-License-Identifier: Apache-2.0
// The uplink and other captures, with codec, ring and level.
import { settingRow } from "./control.js";
import { keep, make, setText } from "./dom.js";
import { meter } from "./meter.js";
import { UNKNOWN } from "./text.js";

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
