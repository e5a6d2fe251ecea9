// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecord.h>
#include <cabinaudio/foundation/AudioExport.h>

/// A capture stream that an application constructs itself and must check before use.
class CABINAUDIO_API AudioRecord : public audio::QVAudioRecord {
public:
    /// Whether the stream can be used; call it once, right after construction.
    virtual int initCheck() = 0;
};
