// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>

/// Linear amplitude to decibels, in steps of 0.5 dB from -103.5 (silence) to +24.0. Amplitudes
/// between two steps are rounded to the nearer one, a midpoint upwards. Any thread.
[[nodiscard]] CABINAUDIO_API float audioMathLog10Extend(float amplitude);

/// Decibels to linear amplitude, in steps of 0.5 dB; values in between are rounded down. The range
/// is -103.5 (gives 0.0, silence) to +24.0 dB; values outside it give the nearer end. Any thread.
[[nodiscard]] CABINAUDIO_API float audioMathPow10Extend(float decibel);

/// Next number of the process-wide noise sequence, within about +-5.4 million. The sequence starts
/// the same in every process. Concurrent callers may get the same number.
[[nodiscard]] CABINAUDIO_API std::int32_t audioMathRandn();

/// Gain stages of the microphone amplifier.
struct GmicGain {
    float op;   ///< operational amplifier, dB
    float pga;  ///< programmable gain amplifier, dB
};

/// Split of a total microphone gain into its two stages; the row index is the gain in whole dB, -24
/// to +46, plus 24.
extern CABINAUDIO_API const GmicGain gmic_gain_table[71];
