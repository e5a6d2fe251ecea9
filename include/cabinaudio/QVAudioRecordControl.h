// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

namespace audio::QVAudioRecordControl {

/// Effects on captured audio. For statuses, waits and threads see QVAudioSetting.h.
class CABINAUDIO_API AudioRecordControl {
public:
    /// Sets an effect's parameters. Null strings are refused; longer ones are truncated to 63
    /// bytes.
    /// @param tag        of the capture stream
    /// @param effect     name of the effect
    /// @param parameter  header of a block of `size` + 4 bytes
    /// @retval AUDIO_NO_MEMORY  also for a `size` too large for a request
    virtual int set(const char* tag, const char* effect, const effect_param_t& parameter) = 0;
    /// Sends the block and overwrites it with the server's, including the header. Strings as above.
    /// @param tag        of the capture stream
    /// @param effect     name of the effect
    /// @param parameter  header of a block of `size` + 4 bytes, with the `size` before the call
    /// @retval AUDIO_NO_MEMORY  also for a `size` too large for a request
    virtual int get(const char* tag, const char* effect, effect_param_t& parameter) = 0;

    virtual ~AudioRecordControl() = default;
};

}  // namespace audio::QVAudioRecordControl
