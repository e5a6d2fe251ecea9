// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Check.h"

#include <cstddef>
#include <optional>
#include <string>

namespace cabinaudio::hear {

/// "2 channels at 48000 Hz"
[[nodiscard]] std::string formOf(const Sound& sound);

/// The channel of a reference that belongs to the view's: the same one, or the only one.
/// @throws Error when the reference has neither
[[nodiscard]] View referenceTo(const View& view, const Sound& reference, const std::string& path);

/// Why two views cannot be equal: rate or channels; empty if they can.
[[nodiscard]] std::string formFault(const View& heard, const View& expected);

/// The first frame, counted from the begin of both, in which two views of the same form differ.
[[nodiscard]] std::optional<std::size_t> firstDifference(const View& heard, const View& expected);

/// Level of the expected sound above its difference to the heard one, in dB; infinite if there is
/// none. The shorter one is extended with silence.
/// @param offset  frames from the heard view's begin to the expected one's; may be negative
/// @param gain    factor of the expected sound
[[nodiscard]] double signalToDifference(const View& heard, const View& expected,
                                        std::ptrdiff_t offset, double gain);

/// The factor of the expected sound that leaves the smallest difference.
[[nodiscard]] double bestGain(const View& heard, const View& expected, std::ptrdiff_t offset);

/// "42.0 dB above the difference", "without any difference"
[[nodiscard]] std::string differenceText(double db);

}  // namespace cabinaudio::hear
