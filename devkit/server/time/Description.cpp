// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/Description.h"

#include "devkit/server/base/Text.h"
#include "devkit/server/streams/Mixer.h"

#include <nlohmann/json.hpp>

namespace cabinaudio::server {

std::optional<std::uint64_t> timeIn(std::string_view text) {
    constexpr std::uint64_t DAY_MS = 1000ULL * 60 * 60 * 24;
    return numberIn(text, DAY_MS);
}

nlohmann::json describeClock(TimeMode mode, bool isPassing, const Mixer& mixer) {
    const std::uint64_t frame = mixer.counters().frames;
    return {{"mode", nameOf(mode)},
            {"state", isPassing ? "passing" : "standing"},
            {"frame", frame},
            {"ms", millisecondsAt(frame, mixer.format().rate)},
            {"budget_ms", nullptr},
            {"waiting_for", nlohmann::json::array()},
            {"errors", nlohmann::json::array()}};
}

}  // namespace cabinaudio::server
