// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecord.h>
#include <cabinaudio/QVAudioTrack.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include <cstddef>
#include <memory>

namespace cabinaudio::plugin {

/// A stream to be created.
struct StreamRequest {
    const char* name = nullptr;
    AudioTagType tag = AUDIO_TAG_UNKNOWN;
    AudioFormatDesc format = {};
    int param = 0;  // for the server

    [[nodiscard]] std::size_t frameBytes() const;
    /// Value of each byte of a silent sample.
    [[nodiscard]] unsigned char silence() const;
};

/// Linear PCM. @param bits  8, 16, 24 (packed) or 32
[[nodiscard]] AudioFormatDesc pcmFormat(unsigned rate, unsigned channels, unsigned bits);

[[nodiscard]] bool isPlaybackTag(AudioTagType tag);
[[nodiscard]] bool isCaptureTag(AudioTagType tag);

/// Creates a stream with its ring, or at least its right to one, and checks it.
/// @param stream  set when 0 is returned
/// @return 0, -ENODEV (no server), -EBUSY (the server refuses the stream) or -EACCES (the ring
///         cannot be mapped)
[[nodiscard]] int openStream(const StreamRequest& request,
                             std::unique_ptr<audio::QVAudioTrack>& stream);
[[nodiscard]] int openStream(const StreamRequest& request,
                             std::unique_ptr<audio::QVAudioRecord>& stream);

}  // namespace cabinaudio::plugin
