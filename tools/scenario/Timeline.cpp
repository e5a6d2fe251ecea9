// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Timeline.h"

#include <algorithm>

namespace cabinaudio::tool::scenario {

namespace {

bool needsThisProgram(const TimedAction& timed) {
    const auto* const command = std::get_if<ServerCommand>(&timed.action);
    return command == nullptr || command->text == "crash";
}

bool needsNoStream(const TimedAction& timed) {
    return std::holds_alternative<SetCommand>(timed.action) ||
           std::holds_alternative<RunCommand>(timed.action);
}

void addStop(Timeline& timeline, const Moment& at, unsigned line) {
    if (timeline.stops.empty() || !(timeline.stops.back().at == at))
        timeline.stops.push_back({at, line, {}});
}

}  // namespace

Timeline timelineOf(const Part& part, const Until& until, bool isLast) {
    Timeline timeline;
    for (const Await& await : part.awaits) {
        const std::string at = await.at ? "@" + await.at->text : "";
        timeline.serverOptions.insert(timeline.serverOptions.end(), {"--await", await.stream + at});
    }
    auto first = part.actions.begin();
    for (; first != part.actions.end() && first->at.frame == 0 && needsNoStream(*first); ++first)
        timeline.beginning.push_back(&*first);
    for (; first != part.actions.end(); ++first) {
        const TimedAction& timed = *first;
        const bool isStop =
            std::any_of(part.actions.begin(), part.actions.end(), [&](const TimedAction& other) {
                return other.at == timed.at && needsThisProgram(other);
            });
        if (isStop) {
            addStop(timeline, timed.at, timed.line);
            timeline.stops.back().actions.push_back(&timed);
        } else {
            const std::string& command = std::get<ServerCommand>(timed.action).text;
            timeline.serverOptions.insert(timeline.serverOptions.end(),
                                          {"--at", timed.at.text + ":" + command});
        }
    }
    if (part.restartAt) addStop(timeline, *part.restartAt, part.restartLine);
    if (isLast && until.at) addStop(timeline, *until.at, until.line);
    return timeline;
}

std::uint64_t lastFrame(const Timeline& timeline, unsigned rate) {
    constexpr std::uint64_t HOUR_SECONDS = 3600;
    const std::uint64_t begin = timeline.stops.empty() ? 0 : timeline.stops.back().at.frame;
    return begin + HOUR_SECONDS * rate;
}

}  // namespace cabinaudio::tool::scenario
