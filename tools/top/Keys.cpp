// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Keys.h"

#include "tools/top/Table.h"

#include <algorithm>

namespace cabinaudio::tool::top {

namespace {

// The range of a volume, see 'cabinaudio describe volume.track'.
constexpr double LOWEST_DB = -103.5;
constexpr double HIGHEST_DB = 24;
constexpr double STEP_DB = 1;
// The first volume above silence.
constexpr double FAINT_DB = -60;

void select(std::size_t row, View& view, const Figures& figures) {
    if (figures.streams.empty()) return;
    view.selected = figures.streams[std::min(row, figures.streams.size() - 1)];
}

void sortBy(Column column, View& view) {
    view.order.isReversed = view.order.column == column && !view.order.isReversed;
    view.order.column = column;
}

/// The stage of this name that has a setting.
const Gain* stageOf(const Stream& stream, const char* name) {
    const auto found =
        std::find_if(stream.gains.begin(), stream.gains.end(),
                     [&](const Gain& gain) { return gain.stage == name && !gain.setting.empty(); });
    return found != stream.gains.end() ? &*found : nullptr;
}

Action noVolume(const Stream& stream, View& view) {
    view.message = stream.name + " has no volume of its own";
    return Nothing();
}

Action changeVolume(const Stream& stream, double change, View& view) {
    const Gain* const track = stageOf(stream, "track");
    if (track == nullptr) return noVolume(stream, view);
    view.silenced.erase(track->setting);
    const bool isSilent = track->db <= LOWEST_DB;
    if (isSilent && change < 0) return Nothing();
    const double db = isSilent ? FAINT_DB : std::clamp(track->db + change, LOWEST_DB, HIGHEST_DB);
    return SettingChange{track->setting, db};
}

/// A path that is muted mutes all of its streams and is opened first; then the stream's own volume
/// becomes silence, and again what it was.
Action toggleMute(const Stream& stream, View& view) {
    const Gain* const path = stageOf(stream, "mute");
    if (path != nullptr && path->isMuted) return SettingChange{path->setting, false};
    const Gain* const track = stageOf(stream, "track");
    if (track == nullptr) return noVolume(stream, view);
    if (track->db > LOWEST_DB) {
        view.silenced[track->setting] = track->db;
        return SettingChange{track->setting, LOWEST_DB};
    }
    const auto before = view.silenced.find(track->setting);
    const double db = before != view.silenced.end() ? before->second : 0.0;
    view.silenced.erase(track->setting);
    return SettingChange{track->setting, db};
}

Action route(const Stream& stream, const char* word, View& view) {
    if (stream.isSink()) return ServerCommand{std::string("source ") + word + " " + stream.rawName};
    view.message = stream.name + " is no sink: only a sink of the tag main has a source";
    return Nothing();
}

Action onStreamKey(int key, View& view, const Figures& figures) {
    if (figures.streams.empty()) return Nothing();
    const Stream& stream = figures.streams[selectedRow(view, figures.streams)];
    switch (key) {
        case 'm':
            return toggleMute(stream, view);
        case '+':
        case '=':
            return changeVolume(stream, STEP_DB, view);
        case '-':
            return changeVolume(stream, -STEP_DB, view);
        case 'w':
            return route(stream, "withdraw", view);
        case 'a':
            return route(stream, "activate", view);
        default:
            return Nothing();
    }
}

/// @return whether the key sorts
bool onSortKey(int key, View& view) {
    for (const ColumnShape& shape : columnShapes()) {
        if (shape.key == 0 || key != shape.key) continue;
        sortBy(shape.column, view);
        return true;
    }
    if (key != 'R') return false;
    view.order.isReversed = !view.order.isReversed;
    return true;
}

}  // namespace

std::size_t selectedRow(const View& view, const std::vector<Stream>& streams) {
    const auto found = std::find_if(streams.begin(), streams.end(), [&](const Stream& stream) {
        return view.selected && stream.is(*view.selected);
    });
    return found != streams.end() ? static_cast<std::size_t>(found - streams.begin()) : 0;
}

Action onKey(int key, View& view, const Figures& figures) {
    if (key == NO_KEY || key == KEY_RESIZED) return Nothing();
    view.message.clear();
    const std::size_t row = selectedRow(view, figures.streams);
    switch (key) {
        case 'q':
            return Quit();
        case 'h':
        case '?':
            view.isHelpShown = !view.isHelpShown;
            return Nothing();
        case 'k':
        case KEY_ROW_UP:
            select(row - std::min<std::size_t>(row, 1), view, figures);
            return Nothing();
        case 'j':
        case KEY_ROW_DOWN:
            select(row + 1, view, figures);
            return Nothing();
        case KEY_FIRST:
            select(0, view, figures);
            return Nothing();
        case KEY_LAST:
            select(figures.streams.size(), view, figures);
            return Nothing();
        default:
            return onSortKey(key, view) ? Nothing() : onStreamKey(key, view, figures);
    }
}

void anticipate(const SettingChange& change, Figures& figures) {
    for (Stream& stream : figures.streams)
        for (Gain& gain : stream.gains) {
            if (gain.setting != change.setting) continue;
            if (const auto* const isOn = std::get_if<bool>(&change.value))
                gain.isMuted = *isOn;
            else
                gain.db = std::get<double>(change.value);
        }
}

}  // namespace cabinaudio::tool::top
