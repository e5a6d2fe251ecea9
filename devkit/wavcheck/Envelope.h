// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/wavcheck/Sound.h"

#include <iosfwd>

namespace cabinaudio::wavcheck {

/// Writes plot data of the sound: `columns` lines "seconds lowest highest", and two empty lines,
/// which end a block for gnuplot. Covers all channels.
void writeEnvelope(std::ostream& out, const Sound& sound, std::size_t columns);

}  // namespace cabinaudio::wavcheck
