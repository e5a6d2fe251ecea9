// SPDX-License-Identifier: Apache-2.0
// Settings of the equalisers.
import { settingRow } from "./control.js";
import { make } from "./dom.js";

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
