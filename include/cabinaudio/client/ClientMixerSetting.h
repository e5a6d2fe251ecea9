// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// The mixer settings that an application constructs itself.
class CABINAUDIO_API AudioMixerSetting : public audio::QVAudioSetting::Mixer {};

/// The mixer settings over a separate connection. See audio::QVAudioSetting::Mixer.
class CABINAUDIO_API ClientMixerSetting : public AudioMixerSetting {
public:
    /// Connects to the server; blocks until it has answered. Does not report a failure: without a
    /// server, requests return 1.
    ClientMixerSetting() noexcept;
    ClientMixerSetting(const ClientMixerSetting&) = delete;
    ClientMixerSetting& operator=(const ClientMixerSetting&) = delete;

    int setUpMixMode(unsigned mode) override;
    int mixExtGps(unsigned mode) override;
    int setGpsMixerGain(audio::audio_mixer_gain_t* gain) override;
    int setGpsMixerGain(audio::audio_mixer_matrix_t* matrix) override;
    int setEffectMixerGain(audio::audio_mixer_gain_t* gain) override;
    int setEffectMixerGain(audio::audio_mixer_matrix_t* matrix) override;
    int setAlternativeAudioMixerGain(audio::audio_mixer_gain_t* gain) override;
    int setAlternativeAudioMixerGain(audio::audio_mixer_matrix_t* matrix) override;
    int mixRearAudioWithFrontAudio(bool on) override;
    int setHwAlternativeAudioMixerWithMain(audio::audio_ext_channel_idx_e channel,
                                           bool on) override;
    int getUpMixMode(unsigned* mode) override;

    /// Disconnects. Ends a request in which another thread is blocked, waits until that thread has
    /// left it, and joins the object's two threads.
    ~ClientMixerSetting() override;

private:
    RemoteCall* mRc;
};
