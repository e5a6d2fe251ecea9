// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// The effect settings that an application constructs itself.
class CABINAUDIO_API AudioAppSetting : public audio::QVAudioSetting::App {};

/// The effect settings over a separate connection. See audio::QVAudioSetting::App.
class CABINAUDIO_API ClientAppSetting : public AudioAppSetting {
public:
    /// Connects to the server; blocks until it has answered. Does not report a failure: without a
    /// server, requests return 1.
    ClientAppSetting() noexcept;
    ClientAppSetting(const ClientAppSetting&) = delete;
    ClientAppSetting& operator=(const ClientAppSetting&) = delete;

    /// Without effect. @return 0
    int setFilter(audio::audio_filter_parameter_t* parameter) override;
    /// Without effect. @return 0
    int getFilter(audio::audio_filter_parameter_t* parameter) override;
    /// Without effect. @return 0
    int setBassTreble(audio::audio_bt_parameter_t* parameter) override;
    /// Without effect. @return 0
    int getBassTreble(audio::audio_bt_parameter_t* parameter) override;
    /// Without effect. @return 0
    int setLoudness(audio::audio_loudness_parameter_t* parameter) override;
    /// Without effect. @return 0
    int setLoudness(audio::audio_ext_loudness_parameter_t* parameter) override;
    /// Without effect. @return 0
    int getLoudness(audio::audio_loudness_parameter_t* parameter) override;
    /// Without effect. @return 0
    int setEqualizer(audio::audio_eq_parameter_t* parameter) override;
    /// Without effect. @return 0
    int getEqualizer(audio::audio_eq_parameter_t* parameter) override;
    /// Without effect. @return 0
    int getEqualizerQValueTable(audio::audio_eq_qvalue_table_t* table) override;
    /// Without effect. @return 0
    int getEqualizerCfTable(audio::audio_eq_cf_table_t* table) override;
    int getEqualizerSpectrum(audio::audio_eq_spectrum_t* spectrum) override;
    int enableDps() override;
    int disableDps() override;
    int setDpsProfile(audio::audio_dps_profile_id_e profile) override;
    int enableDpsStereoCtrl() override;
    int disableDpsStereoCtrl() override;
    int setDpsUserGain(float gain) override;
    int getDpsUserGain(float* gain) override;
    /// Without effect. @return 0
    int setDpsUserEq(audio::audio_dps_user_eq_parameter_t* parameter) override;
    /// Without effect. @return 0
    int getDpsUserEq(audio::audio_dps_user_eq_parameter_t* parameter) override;
    /// Without effect. @return 0
    int setQualityOfSound(audio::audio_sound_quality_t* quality) override;
    /// Without effect. @return 0
    int getQualityOfSound(audio::audio_sound_quality_t* quality) override;
    int setSpeakerDelay(audio::audio_channel_idx_e channel, float ms) override;
    int getSpeakerDelay(audio::audio_channel_idx_e channel, float* delay) override;
    int setQualityOfAEC(audio::audio_aec_quality_e quality) override;
    int getQualityOfAEC(audio::audio_aec_quality_e* quality) override;
    /// Without effect. @return 0
    int setUplinkConfig(audio::audio_uplink_config_t* configuration) override;
    int setEqualizerType(audio::audio_eq_type type) override;
    int enableByPassMode() override;
    int disableByPassMode() override;
    int setEqualizer(audio::audio_ext_eq_parameter_t* equalizer) override;
    int getEqualizer(audio::audio_ext_eq_parameter_t* equalizer) override;
    int setDownlinkDelayEstimation() override;
    int getDownlinkDelayEstimation(short* delay) override;
    int setSurround(bool on) override;
    int setDuplexOfAEC(int value) override;
    int getDuplexOfAEC(int* value) override;
    int setNRAttenuation(int value) override;
    int getNRAttenuation(int* value) override;
    int setNLPConfig(audio::audio_nlp_config_t* configuration) override;
    int getNLPConfig(audio::audio_nlp_config_t* configuration) override;
    int setHandsfreeEQ(audio::audio_handsfree_eq_t* equalizer) override;
    int getHandsfreeEQ(audio::audio_handsfree_eq_t* equalizer) override;
    int setDACGainControl(audio::audio_dacgain_ctrl_t* control) override;
    int setDACSampleRateCtrl(audio::audio_int_dac_sample_rate_e rate) override;
    int getOutPutDataEnergy(audio::audio_out_data_energy_t* energy) override;
    int setReverbMode(audio::audio_reverb_mode_e mode) override;
    int setEffectEnabled(const char* tag, const char* effect, bool on) override;
    int getEffectEnabled(const char* tag, const char* effect, bool& on) override;
    int setEffectParameter(const char* tag, const char* effect,
                           const audio::effect_param_t& parameter) override;
    int getEffectParameter(const char* tag, const char* effect,
                           audio::effect_param_t& parameter) override;

    /// Disconnects. Ends a request in which another thread is blocked, waits until that thread has
    /// left it, and joins the object's two threads.
    ~ClientAppSetting() override;

private:
    RemoteCall* mRc;
};
