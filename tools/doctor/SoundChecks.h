// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/doctor/Check.h"
#include "tools/doctor/ServerState.h"

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Softer than this, hardly anything is heard in a car.
inline constexpr double NEAR_SILENCE_DB = -40;

/// A name as one word for a shell.
[[nodiscard]] std::string shellWord(const std::string& name);

/// An assignment for the set command with which the setting lets sound through: "mute.main=off".
[[nodiscard]] std::string audibleSetting(const std::string& setting);

/// Names as a list: "a, b".
[[nodiscard]] std::string joined(const std::vector<std::string>& names);

/// A number in dB, in at most two decimals: "-6.02 dB".
[[nodiscard]] std::string decibelText(double dB);

/// Whether the output is open and heard.
[[nodiscard]] Check checkOutput(const ServerState& server);
[[nodiscard]] Check checkOutputErrors(const ServerState& server);
/// Which streams have another sample rate than the output. Never a problem.
[[nodiscard]] Check checkRates(const ServerState& server);

/// Switches that silence more than one stream.
[[nodiscard]] Check checkMutes(const ServerState& server);
/// Volumes at or near silence.
[[nodiscard]] Check checkVolumes(const ServerState& server);

/// Sinks that wait for their source.
[[nodiscard]] Check checkSources(const ServerState& server);
/// Rings that are full because nobody reads them.
/// @param again  the state at a later time
[[nodiscard]] Check checkRings(const ServerState& server,
                               const std::function<ServerState()>& again);

/// How many streams are running, then one check for each running playback stream: how its sound
/// reaches the loudspeakers, and where its level is lost.
[[nodiscard]] std::vector<Check> checkStreams(const ServerState& server);

}  // namespace cabinaudio::tool
