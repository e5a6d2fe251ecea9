// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/JsonSchema.h"
#include "tests/support/RealServer.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <stdexcept>
#include <string>

/// The state that a server reports.
namespace cabinaudio::test {

inline nlohmann::json stateOf(const RealServer& server) {
    const auto state = nlohmann::json::parse(server.command("state"));
    expectSchema("state", state);
    return state;
}

/// The stream of this name in a state or a report; throws std::runtime_error when there is none.
inline const nlohmann::json& streamIn(const nlohmann::json& state, const std::string& name) {
    for (const auto& stream : state.at("streams"))
        if (stream.at("name") == name) return stream;
    throw std::runtime_error("no stream " + name + " in " + state.dump());
}

inline nlohmann::json streamOf(const RealServer& server, const std::string& name) {
    return streamIn(stateOf(server), name);
}

/// Frames that the output has got so far.
inline std::uint64_t outputFrames(const RealServer& server) {
    return stateOf(server).at("output").at("frames").get<std::uint64_t>();
}

}  // namespace cabinaudio::test
