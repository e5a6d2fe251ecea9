// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstddef>
#include <string>

namespace cabinaudio::tool {

/// Encoding of a capture stream; the numbers are those of AudioFormatDesc::codecType.
enum class RecordCodec : std::uint32_t { Pcm = 0, Aac = 16, Opus = 32, Msbc = 65 };

/// "pcm", "opus", "msbc", "aac".
[[nodiscard]] const char* codecName(RecordCodec codec);

/// The format requested from the server.
struct RecordFormat {
    RecordCodec codec = RecordCodec::Pcm;
    std::uint32_t rate = 0;  // Hz
    int channels = 0;
    AudioBitDepthType depth = AUDIO_BIT_DEPTH_16;  // linear PCM only
    std::uint32_t codecParam = 0;                  // codecs only

    [[nodiscard]] AudioFormatDesc description() const;
    /// For linear PCM: one sample of every channel.
    [[nodiscard]] std::size_t frameBytes() const;
    [[nodiscard]] double milliseconds(std::size_t bytesOfPcm) const;
};

/// @return why the format cannot be recorded; empty if it can
[[nodiscard]] std::string formatFault(const RecordFormat& format);

}  // namespace cabinaudio::tool
