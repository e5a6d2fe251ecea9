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

/// Value of AudioFormatDesc::codecType.
enum class Codec : std::uint32_t { Pcm = 0, Aac = 16, Opus = 32, Msbc = 65 };

/// "pcm", "aac", "opus", "msbc".
const char* nameOf(Codec codec);

/// Encodes sound into the frames that a capture stream's client reads. A frame is usable only as a
/// whole.
class FrameEncoder {
public:
    using Output = std::function<void(std::vector<std::uint8_t> frame)>;

    virtual ~FrameEncoder() = default;

    /// Takes samples in whole frames of the stream's channels; passes on the completed codec
    /// frames.
    virtual void encode(std::span<const float> samples, const Output& output) = 0;
};

/// Makes a stream's encoder, in its initial state.
/// @param desc  codecParam is the bit rate when from 6000 to 510000; any other value leaves the
///              choice to the codec
/// @throws std::invalid_argument when the codec does not support the format
/// @throws std::runtime_error when this server does not support the codec
std::unique_ptr<FrameEncoder> makeEncoder(const AudioFormatDesc& desc, const StreamFormat& format);

// One function per codec. With `bitRate` 0 the codec chooses.

std::unique_ptr<FrameEncoder> makePcmEncoder(const StreamFormat& format);
/// LOAS frames, each with the decoder's configuration.
std::unique_ptr<FrameEncoder> makeAacEncoder(const StreamFormat& format, std::uint32_t bitRate);
/// Packets of 20 ms, each preceded by its length (big-endian, 4 bytes) and the bytes 1 to 4.
std::unique_ptr<FrameEncoder> makeOpusEncoder(const StreamFormat& format, std::uint32_t bitRate);
/// Frames of 57 bytes, 7.5 ms each.
std::unique_ptr<FrameEncoder> makeMsbcEncoder(const StreamFormat& format);

}  // namespace cabinaudio::server
