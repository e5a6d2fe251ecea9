// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

namespace audio::QVAudioSetting {

/// Sound effects: equalisers, delays, the hands-free processing, and any named effect of a stream.
/// For statuses, waits and threads see QVAudioSetting.h.
class CABINAUDIO_API App {
public:
    /// @name Deprecated
    /// @{

    /// Without effect. @return 0
    virtual int setFilter(audio_filter_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int getFilter(audio_filter_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int setBassTreble(audio_bt_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int getBassTreble(audio_bt_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int setLoudness(audio_loudness_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int setLoudness(audio_ext_loudness_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int getLoudness(audio_loudness_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int setEqualizer(audio_eq_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int getEqualizer(audio_eq_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int getEqualizerQValueTable(audio_eq_qvalue_table_t* table) = 0;
    /// Without effect. @return 0
    virtual int getEqualizerCfTable(audio_eq_cf_table_t* table) = 0;
    /// @}

    /// @param spectrum  gets the spectrum of the main output; null is refused
    virtual int getEqualizerSpectrum(audio_eq_spectrum_t* spectrum) = 0;

    /// @name Deprecated
    /// @{

    /// Without effect. @return 0
    virtual int enableDps() = 0;
    /// Without effect. @return 0
    virtual int disableDps() = 0;
    /// Without effect. @return 0
    virtual int setDpsProfile(audio_dps_profile_id_e profile) = 0;
    /// Without effect. @return 0
    virtual int enableDpsStereoCtrl() = 0;
    /// Without effect. @return 0
    virtual int disableDpsStereoCtrl() = 0;
    /// Without effect. @return 0
    virtual int setDpsUserGain(float gain) = 0;
    /// Without effect. @return 0
    virtual int getDpsUserGain(float* gain) = 0;
    /// Without effect. @return 0
    virtual int setDpsUserEq(audio_dps_user_eq_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int getDpsUserEq(audio_dps_user_eq_parameter_t* parameter) = 0;
    /// Without effect. @return 0
    virtual int setQualityOfSound(audio_sound_quality_t* quality) = 0;
    /// Without effect. @return 0
    virtual int getQualityOfSound(audio_sound_quality_t* quality) = 0;
    /// @}

    /// Delays a loudspeaker.
    /// @param channel  mask of loudspeakers
    /// @param ms       milliseconds, sent as whole microseconds: fractions are truncated, only the
    ///                 low 32 bits are sent, and NaN or a value beyond 64 bits is sent as 0
    virtual int setSpeakerDelay(audio_channel_idx_e channel, float ms) = 0;
    /// @param channel  loudspeaker
    /// @param delay    gets the server's value, which need not be in milliseconds; null is refused
    /// @return whether the request went through: the server's status is ignored
    virtual int getSpeakerDelay(audio_channel_idx_e channel, float* delay) = 0;
    /// Sets the quality of the echo canceller. @param quality  value defined by the server
    virtual int setQualityOfAEC(audio_aec_quality_e quality) = 0;
    /// @param quality  gets the server's value; null is refused
    virtual int getQualityOfAEC(audio_aec_quality_e* quality) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setUplinkConfig(audio_uplink_config_t* configuration) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setEqualizerType(audio_eq_type type) = 0;
    /// Bypasses all effects.
    virtual int enableByPassMode() = 0;
    /// Ends the bypass.
    virtual int disableByPassMode() = 0;
    /// Sets the extended equaliser. @param equalizer  sent in full; null is refused
    virtual int setEqualizer(audio_ext_eq_parameter_t* equalizer) = 0;
    /// @param equalizer  its selector chooses the equaliser to read; overwritten in full, including
    ///                   the selector; null is refused
    virtual int getEqualizer(audio_ext_eq_parameter_t* equalizer) = 0;
    /// Starts measuring the delay of the downlink; read the result later.
    virtual int setDownlinkDelayEstimation() = 0;
    /// **Stores four bytes at `delay`, not two**: it must point to the first of at least two
    /// `short`s. The first one gets the delay. Unchanged when no reply arrives; null discards the
    /// result.
    virtual int getDownlinkDelayEstimation(short* delay) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setSurround(bool on) = 0;
    /// Sets how much both sides of a call may speak at once; values defined by the server.
    virtual int setDuplexOfAEC(int value) = 0;
    /// @param value  gets the server's value; null discards it
    virtual int getDuplexOfAEC(int* value) = 0;
    /// Sets the attenuation of the noise reduction; values defined by the server.
    virtual int setNRAttenuation(int value) = 0;
    /// @param value  gets the server's value; null discards it
    virtual int getNRAttenuation(int* value) = 0;
    /// Sets the non-linear processing of the uplink. @param configuration  sent in full; null is
    /// refused
    virtual int setNLPConfig(audio_nlp_config_t* configuration) = 0;
    /// @param configuration  its selector chooses what to read; overwritten in full; null is
    ///                       refused
    virtual int getNLPConfig(audio_nlp_config_t* configuration) = 0;
    /// Sets the equaliser of calls. @param equalizer  sent in full; null is refused
    virtual int setHandsfreeEQ(audio_handsfree_eq_t* equalizer) = 0;
    /// @param equalizer  its selector chooses the equaliser to read; overwritten in full; null is
    ///                   refused
    virtual int getHandsfreeEQ(audio_handsfree_eq_t* equalizer) = 0;
    /// Sets the gain control of the converter. @param control  null is refused
    virtual int setDACGainControl(audio_dacgain_ctrl_t* control) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setDACSampleRateCtrl(audio_int_dac_sample_rate_e rate) = 0;
    /// @param energy  gets the energy of the data at the outputs; null is refused
    virtual int getOutPutDataEnergy(audio_out_data_energy_t* energy) = 0;
    /// @param mode  value defined by the server
    virtual int setReverbMode(audio_reverb_mode_e mode) = 0;

    /// Switches an effect of a stream on or off. In this and the following operations, null strings
    /// are refused and longer ones truncated to 63 bytes.
    /// @param tag     of the stream, for example "main"
    /// @param effect  name of the effect
    /// @param on      whether to switch it on
    virtual int setEffectEnabled(const char* tag, const char* effect, bool on) = 0;
    /// @param tag     of the stream
    /// @param effect  name of the effect
    /// @param on      gets whether the effect is on
    virtual int getEffectEnabled(const char* tag, const char* effect, bool& on) = 0;
    /// Sets an effect's parameters.
    /// @param tag        of the stream
    /// @param effect     name of the effect
    /// @param parameter  header of a block of `size` + 4 bytes
    /// @retval AUDIO_NO_MEMORY  also for a `size` too large for a request
    virtual int setEffectParameter(const char* tag, const char* effect,
                                   const effect_param_t& parameter) = 0;
    /// Sends the block and overwrites it with the server's, including the header.
    /// @param tag        of the stream
    /// @param effect     name of the effect
    /// @param parameter  header of a block of `size` + 4 bytes, with the `size` before the call
    /// @retval AUDIO_NO_MEMORY  also for a `size` too large for a request
    virtual int getEffectParameter(const char* tag, const char* effect,
                                   effect_param_t& parameter) = 0;

    virtual ~App() = default;
};

}  // namespace audio::QVAudioSetting
