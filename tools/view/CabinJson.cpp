// SPDX-License-Identifier: Apache-2.0
#include "tools/view/CabinJson.h"

#include "tools/settings/Value.h"

#include <array>

namespace cabinaudio::tool::view {

namespace {

// In the order of LOUDSPEAKERS.
constexpr std::array POSITIONS = {"front-left", "front-right", "rear-left",
                                  "rear-right", "center",      "subwoofer"};

Json loudspeakers() {
    Json all = Json::array();
    for (std::size_t i = 0; i < POSITIONS.size(); ++i)
        all.push_back({{"name", LOUDSPEAKERS[i]}, {"position", POSITIONS[i]}});
    return all;
}

Json zones() {
    return {{{"name", "front"},
             {"loudspeakers", {LOUDSPEAKERS[0], LOUDSPEAKERS[1]}},
             {"source", "source.front"},
             {"state", "seat.front"}},
            {{"name", "rear"},
             {"loudspeakers", {LOUDSPEAKERS[2], LOUDSPEAKERS[3]}},
             {"source", "source.rear"},
             {"state", "seat.rear"}}};
}

Json paths() {
    const auto path = [](const char* name, const Json& volume) -> Json {
        return {{"name", name}, {"mute", std::string("mute.") + name}, {"volume", volume}};
    };
    return {path("main", nullptr), path("second", "volume.second"),
            path("alternative", "volume.alternative"), path("auxiliary", nullptr)};
}

Json inputs() {
    return {{{"name", "0"}, {"op", "mic.op.0"}, {"pga", "mic.pga.0"}},
            {{"name", "1"}, {"op", "mic.op.1"}, {"pga", "mic.pga.1"}}};
}

}  // namespace

Json cabinOf(const ServerFacts& server) {
    return {{"server",
             {{"kind", server.isDevelopment ? "development" : "other"},
              {"instance", server.instance},
              {"version", orNull(server.version)},
              {"time", orNull(server.time)}}},
            {"master", "volume.master"},
            {"loudspeakers", loudspeakers()},
            {"zones", zones()},
            {"paths", paths()},
            {"inputs", inputs()}};
}

}  // namespace cabinaudio::tool::view
