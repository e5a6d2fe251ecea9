// SPDX-License-Identifier: Apache-2.0
// Numbers and values as texts.

/** Of what only a development server knows. */
export const UNKNOWN = "Not known to this server.";

/** Gain or level in dB, with a real minus sign; null is silence. */
export function decibel(db) {
    if (db === null || db === undefined || db <= -103.5) return "silent";
    return `${number(db, 1)} dB`;
}

export function number(value, digits = 0) {
    const rounded = Number(value).toFixed(digits);
    return (Number(rounded) === 0 ? (0).toFixed(digits) : rounded).replace("-", "\u2212");
}

/** A level in whole dB. */
export function levelText(db) {
    return db === null || db === undefined ? "silent" : `${number(db, 0)} dB`;
}

/** Position of a level on a meter from -60 dB (0) to 0 dB (1), in steps of 1 %. */
export function meterPart(db) {
    if (db === null || db === undefined) return 0;
    return Math.round(Math.min(1, Math.max(0, (db + 60) / 60)) * 100) / 100;
}

/** A setting's value as text. */
export function valueText(value, unit) {
    if (value === null || value === undefined) return "";
    if (Array.isArray(value)) {
        return value.length === 0 ? "none" : value.map((part) => valueText(part, unit)).join(", ");
    }
    if (typeof value === "boolean") return value ? "on" : "off";
    if (typeof value === "object") return JSON.stringify(value);
    if (typeof value === "number") {
        const digits = Number.isInteger(value) ? 0 : Math.abs(value) < 1 ? 2 : 1;
        return unit ? `${number(value, digits)} ${unit}` : number(value, digits);
    }
    return String(value);
}

/** A time of day in ms since 1970, or ms of a server, as h:mm:ss.mmm. */
export function clockText(ms) {
    if (ms === null || ms === undefined) return "";
    const pad = (part, width) => String(Math.floor(part)).padStart(width, "0");
    const text = (h, m, s, rest) => `${pad(h, 1)}:${pad(m, 2)}:${pad(s, 2)}.${pad(rest, 3)}`;
    if (ms < 1e12) return text(ms / 3600000, (ms / 60000) % 60, (ms / 1000) % 60, ms % 1000);
    const time = new Date(ms);
    return text(time.getHours(), time.getMinutes(), time.getSeconds(), time.getMilliseconds());
}
