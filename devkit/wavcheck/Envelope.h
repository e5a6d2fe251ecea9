// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/wavcheck/Sound.h"

#include <iosfwd>

namespace cabinaudio::wavcheck {

/// Writes what a plot of the sound needs: lines "seconds lowest highest", `columns` of them, and
/// two empty lines, which end a block for gnuplot. All channels count.
void writeEnvelope(std::ostream& out, const Sound& sound, std::size_t columns);

}  // namespace cabinaudio::wavcheck
