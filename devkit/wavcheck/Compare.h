// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/wavcheck/Sound.h"

#include <string>

namespace cabinaudio::wavcheck {

/// Where nothing was converted on the way, sounds must be equal sample for sample. Else the
/// difference must be this much weaker than the sound.
constexpr double REQUIRED_DB = 40.0;

/// One check and what came of it.
struct Verdict {
    bool isMet;
    std::string text;
};

/// @param mustBeExact  nothing was converted on the way
Verdict compare(const Sound& expected, const Sound& heard, bool mustBeExact);

}  // namespace cabinaudio::wavcheck
