// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/wavcheck/Sound.h"

#include <string>

namespace cabinaudio::wavcheck {

/// Required signal-to-difference ratio for converted sounds. Unconverted sounds must be equal
/// sample for sample.
constexpr double REQUIRED_DB = 40.0;

/// A check and its result.
struct Verdict {
    bool isMet;
    std::string text;
};

/// @param mustBeExact  whether the sound was not converted
Verdict compare(const Sound& expected, const Sound& heard, bool mustBeExact);

}  // namespace cabinaudio::wavcheck
