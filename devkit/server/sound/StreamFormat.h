// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::server {

/// Linear PCM as clients write it: interleaved; 8 bits unsigned, wider samples signed
/// little-endian, 24 bits packed into 3 bytes.
struct StreamFormat {
    std::uint32_t rate;       // Hz
    unsigned channels;        // 1 to 6
    unsigned bytesPerSample;  // 1 to 4

    /// @return empty for coded formats and for rates outside 8000 to 192000 Hz
    static std::optional<StreamFormat> of(const AudioFormatDesc& desc);
    /// Input format of a coded stream's encoder: 16 bits, whatever the description says.
    static std::optional<StreamFormat> beforeCoding(const AudioFormatDesc& desc);

    [[nodiscard]] std::size_t frameBytes() const { return std::size_t{channels} * bytesPerSample; }
    /// "48000 Hz, 2 channels, s16"
    [[nodiscard]] std::string text() const;
};

}  // namespace cabinaudio::server
