// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/play/SoundReader.h"

#include <cstdint>
#include <optional>

namespace cabinaudio::tool {

/// The header of a WAV file whose samples need no decoder.
struct WavHeader {
    RawFormat format;
    std::size_t bytes = 0;  // of the header, up to the samples
    /// Of the samples, as announced; empty when the header was written before they were known.
    std::optional<std::uint64_t> soundBytes;
};

/// Looks at the input's first bytes, RIFF and RF64.
/// @return empty if it is something else, or the samples are coded
/// @throws Failure when the input ends within the header
[[nodiscard]] std::optional<WavHeader> wavHeaderOf(InputBytes& input);

}  // namespace cabinaudio::tool
