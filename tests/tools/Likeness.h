// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/tools/Sounds.h"

namespace cabinaudio::test {

/// Writes a mono tune whose every tenth of a second sounds unlike any other, so that it tells its
/// place.
void writeTune(const std::string& path, int rate, int seconds);

/// How much of a recording, from its first loud sample to its end, is the original: the correlation
/// of both at the place where they match best. 1 is all of it. Both in mono.
[[nodiscard]] double likeness(const Sound& recorded, const Sound& original);

/// How much of the original's beginning a recording lacks, at the place where they match best;
/// negative when something stands before it. Throws std::runtime_error when they do not match.
[[nodiscard]] double millisecondsCut(const Sound& recorded, const Sound& original);

}  // namespace cabinaudio::test
