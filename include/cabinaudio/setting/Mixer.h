// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

namespace audio::QVAudioSetting {

/// Mixing of navigation prompts and alternative audio into the main output. For statuses, waits and
/// threads see QVAudioSetting.h.
class CABINAUDIO_API Mixer {
public:
    /// Sets how a source is mixed up to more channels. @param mode  value defined by the server
    virtual int setUpMixMode(unsigned mode) = 0;
    /// Mixes an external navigation prompt into the main output.
    /// @param mode  value defined by the server
    virtual int mixExtGps(unsigned mode) = 0;
    /// Sets the gains of the navigation prompt. @param gain  four steps, 0 to 100; null is refused
    virtual int setGpsMixerGain(audio_mixer_gain_t* gain) = 0;
    /// As above. @param matrix  four gains, -103.5 to 0.0 dB; null is refused
    virtual int setGpsMixerGain(audio_mixer_matrix_t* matrix) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setEffectMixerGain(audio_mixer_gain_t* gain) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setEffectMixerGain(audio_mixer_matrix_t* matrix) = 0;
    /// Sets the gains of the alternative audio. @param gain  four steps, 0 to 100; null is refused
    virtual int setAlternativeAudioMixerGain(audio_mixer_gain_t* gain) = 0;
    /// As above. @param matrix  four gains, -103.5 to 0.0 dB; null is refused
    virtual int setAlternativeAudioMixerGain(audio_mixer_matrix_t* matrix) = 0;
    /// Deprecated, without effect. @return 0
    virtual int mixRearAudioWithFrontAudio(bool on) = 0;
    /// Mixes alternative with main audio in hardware.
    /// @param channel  65534 at most; negative values are passed to the server
    /// @param on       whether to mix
    virtual int setHwAlternativeAudioMixerWithMain(audio_ext_channel_idx_e channel, bool on) = 0;
    /// @param mode  gets the server's value; null discards it
    virtual int getUpMixMode(unsigned* mode) = 0;

    virtual ~Mixer() = default;
};

}  // namespace audio::QVAudioSetting
