// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstddef>

namespace cabinaudio::tool {

/// Sample type requested from a decoder, so that nothing is lost or scaled twice.
enum class SampleSource {
    Short,  // integer files of up to 16 bits
    Int,    // deeper integer files, left-justified in 32 bits
    Float,  // everything else, -1 to 1
};

/// How a file's samples are converted for a stream.
struct SamplePlan {
    SampleSource source;
    AudioBitDepthType depth;
};

/// @param sndfileFormat  the format word of an SF_INFO
[[nodiscard]] SamplePlan planFor(int sndfileFormat);

/// Bytes per sample of a source.
[[nodiscard]] std::size_t sourceBytes(SampleSource source);

/// Converts `count` samples at `from`, of the plan's source type, to stream samples at `to`.
void convertSamples(const SamplePlan& plan, const void* from, std::size_t count, unsigned char* to);

}  // namespace cabinaudio::tool
