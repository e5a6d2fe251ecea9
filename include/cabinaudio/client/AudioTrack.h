// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>
#include <cabinaudio/foundation/AudioExport.h>

/// A playback stream that an application constructs itself and must check before use.
class CABINAUDIO_API AudioTrack : public audio::QVAudioTrack {
public:
    /// Whether the stream can be used; call it once, right after construction.
    virtual int initCheck() = 0;
};
