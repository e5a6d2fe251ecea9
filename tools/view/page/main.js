// SPDX-License-Identifier: Apache-2.0
// The page: events in, pictures out. Levels are drawn once a frame at most, and only after events.
import { cabin } from "./cabin.js";
import { captures } from "./captures.js";
import { byId, make, setText } from "./dom.js";
import { equalisers } from "./equalisers.js";
import { fadeAndBalance } from "./fade.js";
import { Feed } from "./feed.js";
import { flow } from "./flow.js";
import { settingList } from "./list.js";
import { beginPicture } from "./pace.js";
import { requests } from "./requests.js";
import { Settings } from "./settings.js";
import { spectrum } from "./spectrum.js";
import { duckingText } from "./strips.js";
import { themeSwitch } from "./theme.js";
import { zones } from "./zones.js";

const settings = new Settings();
const picture = cabin(byId("cabin"));
const way = flow(settings, byId("flow"));
let parts = null;
let list = null;
let live = null;
let isDrawn = true;

function showBanner(text) {
    byId("banner").hidden = !text;
    setText(byId("banner"), text);
    byId("controls").disabled = Boolean(text);
    document.body.classList.toggle("gone", Boolean(text));
}

function showServer({ kind, version, instance }) {
    const texts = [kind === "development" ? "development server" : "server",
        version && `version ${version}`, instance && `instance ${instance}`];
    byId("server").replaceChildren(...texts.filter(Boolean).map((text) => make("span", {}, text)));
}

// Most controls stay when a server comes back.
function updateControls() {
    if (!list) {
        fadeAndBalance(settings, picture.picture, byId("fade"));
        equalisers(settings, byId("equalisers"));
        list = settingList(settings, byId("list"));
    } else {
        list.update();
    }
}

function change({ changes = {}, added, removed }) {
    settings.change(changes);
    if (!added && !removed) return;
    settings.load(added ?? {});
    settings.remove(removed ?? []);
    updateControls();
}

function load(event) {
    settings.load(event.settings ?? {});
    const known = event.server.kind === "development";
    const loudspeakers = event.loudspeakers ?? [];
    showServer(event.server);
    updateControls();
    picture.load(loudspeakers);
    way.load({ loudspeakers, paths: event.paths ?? [], master: event.master, known });
    parts = {
        known,
        spectrum: spectrum(byId("spectrum"), known),
        captures: captures(settings, byId("captures"), known),
        requests: requests(byId("requests"), known),
        zones: zones(byId("zones"), event.zones ?? []),
    };
    showBanner("");
    show({}, true);
}

/** `isWhole`: all of it at once, not only what changes fast. */
function show(event, isWhole = false) {
    beginPicture(isWhole);
    const streams = event.streams ?? [];
    const levels = new Map((event.loudspeakers ?? []).map((one) => [one.name, one]));
    picture.show(levels);
    way.show(streams, levels);
    parts.zones.show(streams, [...levels.keys()]);
    parts.spectrum.show(event.spectrum ?? []);
    parts.captures.show(event.captures ?? []);
    parts.requests.show(event.requests ?? []);
    setText(byId("ducking"), duckingText(streams));
}

function drawLive() {
    isDrawn = true;
    if (live && parts) show(live);
    live = null;
}

function receive(event) {
    // Requests of a skipped event must not be lost.
    live = { ...event, requests: [...(live?.requests ?? []), ...(event.requests ?? [])] };
    if (isDrawn) requestAnimationFrame(drawLive);
    isDrawn = false;
}

function leave(text) {
    showBanner(text);
    live = null;
    if (parts) show({}, true);
}

themeSwitch(byId("theme"));
new Feed({
    cabin: load,
    settings: change,
    live: receive,
    gone: (event) => leave(event.text || "The server is gone. This page waits for it."),
    lost: () => leave("cabinaudio view does not answer. Start it again, and open its address."),
});
