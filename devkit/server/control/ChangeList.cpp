// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/ChangeList.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/settings/SettingsJson.h"
#include "devkit/server/time/Description.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cabinaudio::server {
namespace {

using nlohmann::json;

json decibelsOf(float factor) {
    return factor > 0.0F ? json(std::round(200.0 * std::log10(factor)) / 10.0) : json();
}

}  // namespace

ChangeList::ChangeList(const Settings& settings)
    : mSettings(settings), mBefore(jsonOf(*settings)) {}

void ChangeList::settingsChanged(std::uint64_t frame) {
    json now = jsonOf(*mSettings);
    for (const json& change : json::diff(mBefore, now))
        mChanges.push_back({{"frame", frame},
                            {"what", "setting"},
                            {"setting", change.at("path")},
                            {"value", change.contains("value") ? change.at("value") : json()}});
    mBefore = std::move(now);
}

void ChangeList::ducked(std::uint64_t frame, float factor, const std::string& prompt) {
    mChanges.push_back({{"frame", frame},
                        {"what", "ducking"},
                        {"db", decibelsOf(factor)},
                        {"by", prompt.empty() ? json() : json(prompt)}});
}

/// Changes of one frame are sorted by their text: clients make them in any order.
json ChangeList::describe(const std::vector<std::shared_ptr<StreamRecord>>& streams,
                          std::uint32_t rate) const {
    std::vector<json> changes = mChanges;
    for (const auto& stream : streams) {
        for (const StreamChange& change : stream->changes)
            changes.push_back(
                {{"frame", change.outputFrame},
                 {"what", change.what},
                 {"stream", stream->name},
                 {"tag", AudioTypes::getTag(static_cast<AudioTagType>(stream->tag))}});
    }
    std::stable_sort(changes.begin(), changes.end(), [](const json& left, const json& right) {
        const auto frame = [](const json& change) {
            return change.at("frame").get<std::uint64_t>();
        };
        if (frame(left) != frame(right)) return frame(left) < frame(right);
        const auto isOfStream = [](const json& change) { return change.contains("stream"); };
        if (!isOfStream(left) || !isOfStream(right)) return isOfStream(left) < isOfStream(right);
        return std::pair(left.at("tag"), left.at("stream")) <
               std::pair(right.at("tag"), right.at("stream"));
    });
    for (json& change : changes)
        change["ms"] = millisecondsAt(change.at("frame"), rate);
    return changes;
}

}  // namespace cabinaudio::server
