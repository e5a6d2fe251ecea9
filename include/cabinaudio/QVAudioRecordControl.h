// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

namespace audio::QVAudioRecordControl {

/// Effects on what is captured. Statuses, waits and threads: QVAudioSetting.h.
class CABINAUDIO_API AudioRecordControl {
public:
    /// Sets an effect's parameters. Null texts are refused; each is cut to 63 bytes.
    /// @param tag        of the capture stream
    /// @param effect     its name
    /// @param parameter  head of a block of `size` + 4 bytes
    /// @retval AUDIO_NO_MEMORY  also for a `size` that no request can hold
    virtual int set(const char* tag, const char* effect, const effect_param_t& parameter) = 0;
    /// Sends the block and has it overwritten by the server's, head included. Texts as above.
    /// @param tag        of the capture stream
    /// @param effect     its name
    /// @param parameter  head of a block of `size` + 4 bytes, `size` as it is before the call
    /// @retval AUDIO_NO_MEMORY  also for a `size` that no request can hold
    virtual int get(const char* tag, const char* effect, effect_param_t& parameter) = 0;

    virtual ~AudioRecordControl() = default;
};

}  // namespace audio::QVAudioRecordControl
