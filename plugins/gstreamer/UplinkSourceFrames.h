// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::gstreamer {

/// Duration of a packet of Opus in ns, from its first bytes; 0 for a packet that is none.
[[nodiscard]] std::uint64_t opusDuration(std::span<const unsigned char> packet);

/// The two packets before the sound in files of Opus (RFC 7845, 5).
[[nodiscard]] std::array<std::string, 2> opusHeaders(unsigned rate, unsigned channels);

/// Durations of the frames of one AAC stream in LOAS. Frames may omit the configuration when it has
/// not changed.
class LoasDuration {
public:
    /// @param rate  of the stream, for frames whose configuration is not understood
    explicit LoasDuration(unsigned rate) : mRate(rate) {}

    /// Duration in ns. @param frame  with its header of 3 bytes
    [[nodiscard]] std::uint64_t of(std::span<const unsigned char> frame);

private:
    static constexpr unsigned USUAL_SAMPLES = 1024;

    unsigned mRate;  // Hz
    unsigned mSamples = USUAL_SAMPLES;
};

}  // namespace cabinaudio::gstreamer
