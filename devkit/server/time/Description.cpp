// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/Description.h"

#include "devkit/server/streams/Mixer.h"

#include <nlohmann/json.hpp>

namespace cabinaudio::server {

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
