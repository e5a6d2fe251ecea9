// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "python/src/Buffer.h"

#include <string>

namespace cabinaudio::python {

/// What a program wants of a stream.
struct StreamFormat {
    AudioTagType tag;
    AudioFormatDesc description;
    SampleLayout layout;
};

/// A stream of linear PCM.
/// @throws std::invalid_argument  naming the argument that is out of range
[[nodiscard]] StreamFormat pcmFormat(const std::string& tag, unsigned rate, int channels, int bits);

/// An uplink: codec "pcm", "aac", "opus" or "msbc".
[[nodiscard]] StreamFormat uplinkFormat(const std::string& codec, unsigned rate, int channels,
                                        int bits);

[[nodiscard]] bool isPlayback(AudioTagType tag);

/// A name that a stream may have.
/// @throws std::invalid_argument
void checkName(const std::string& name);

}  // namespace cabinaudio::python
