// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace cabinaudio::tool::scenario {

/// Removes the frames of a sound file from `frames` on. Programs that a scenario no longer needs
/// end at some frame; without them, equal runs have equal files.
/// @throws Failure when the file cannot be changed
void cutSound(const std::string& file, std::uint64_t frames);

}  // namespace cabinaudio::tool::scenario
