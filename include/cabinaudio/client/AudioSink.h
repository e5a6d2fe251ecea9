// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>
#include <cabinaudio/foundation/AudioExport.h>

/// A playback stream whose source the server connects and disconnects. The application constructs
/// it itself and must check it before use.
class CABINAUDIO_API AudioSink : public audio::QVAudioTrack {
public:
    /// A sink has no key shift. @return 0 for every `key`; nothing is sent
    int setKeyShift(float key) override;

    /// Whether the stream can be used; call it once, right after construction.
    virtual int initCheck() = 0;
};
