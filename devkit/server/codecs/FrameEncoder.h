// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/sound/StreamFormat.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Number of a coded form in AudioFormatDesc::codecType.
enum class Codec : std::uint32_t { Pcm = 0, Aac = 16, Opus = 32, Msbc = 65 };

/// "pcm", "aac", "opus", "msbc".
const char* nameOf(Codec codec);

/// Makes of a sound what a capture stream's client reads, frame by frame. A frame only makes sense
/// as a whole.
class FrameEncoder {
public:
    using Output = std::function<void(std::vector<std::uint8_t> frame)>;

    virtual ~FrameEncoder() = default;

    /// Takes samples in whole frames of the stream's channels; gives what is complete.
    virtual void encode(std::span<const float> samples, const Output& output) = 0;
};

/// The encoder of a stream, at the beginning of a sound.
/// @param desc  its codecParam is the bit rate, from 6000 to 510000; anything else leaves it to the
///              codec
/// @throws std::invalid_argument when the codec cannot do it
/// @throws std::runtime_error when this server cannot do it
std::unique_ptr<FrameEncoder> makeEncoder(const AudioFormatDesc& desc, const StreamFormat& format);

// One of each. `bitRate` is 0 when the codec is to decide.

std::unique_ptr<FrameEncoder> makePcmEncoder(const StreamFormat& format);
/// LOAS frames with the decoder's configuration in each of them.
std::unique_ptr<FrameEncoder> makeAacEncoder(const StreamFormat& format, std::uint32_t bitRate);
/// Packets of 20 ms, each behind its length (big-endian, 4 bytes) and the bytes 1 to 4.
std::unique_ptr<FrameEncoder> makeOpusEncoder(const StreamFormat& format, std::uint32_t bitRate);
/// Frames of 57 bytes for 7.5 ms.
std::unique_ptr<FrameEncoder> makeMsbcEncoder(const StreamFormat& format);

}  // namespace cabinaudio::server
