// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

namespace audio::QVAudioSetting {

/// Sound effects: equalisers, delays, the hands-free processing, and any named effect of a stream.
/// Statuses, waits and threads: QVAudioSetting.h.
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
    /// @param channel  which ones, a mask
    /// @param ms       milliseconds, sent in whole microseconds of 32 bits: fractions are cut off,
    ///                 higher bits are lost, and what is no number or beyond 64 bits goes out as 0
    virtual int setSpeakerDelay(audio_channel_idx_e channel, float ms) = 0;
    /// @param channel  which one
    /// @param delay    gets the server's number, which need not be in milliseconds; null is refused
    /// @return whether the request went through; the server's status is not looked at
    virtual int getSpeakerDelay(audio_channel_idx_e channel, float* delay) = 0;
    /// Quality of the echo canceller. @param quality  the server's number
    virtual int setQualityOfAEC(audio_aec_quality_e quality) = 0;
    /// @param quality  gets the server's number; null is refused
    virtual int getQualityOfAEC(audio_aec_quality_e* quality) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setUplinkConfig(audio_uplink_config_t* configuration) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setEqualizerType(audio_eq_type type) = 0;
    /// Passes the sound by all effects.
    virtual int enableByPassMode() = 0;
    /// Sends it through the effects again.
    virtual int disableByPassMode() = 0;
    /// Extended equaliser. @param equalizer  sent whole; null is refused
    virtual int setEqualizer(audio_ext_eq_parameter_t* equalizer) = 0;
    /// @param equalizer  its selector says which one to ask for; overwritten whole, selector
    ///                   included; null is refused
    virtual int getEqualizer(audio_ext_eq_parameter_t* equalizer) = 0;
    /// Begins to measure the delay of the downlink; ask for the result later.
    virtual int setDownlinkDelayEstimation() = 0;
    /// **Stores four bytes at `delay`, not two**: it has to be the first of at least two `short`s.
    /// The number is in the first one. Untouched when nothing arrives; null drops the number.
    virtual int getDownlinkDelayEstimation(short* delay) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setSurround(bool on) = 0;
    /// How much both sides of a call may speak at once, in the server's numbers.
    virtual int setDuplexOfAEC(int value) = 0;
    /// @param value  gets the server's number; null drops it
    virtual int getDuplexOfAEC(int* value) = 0;
    /// Attenuation of the noise reduction, in the server's numbers.
    virtual int setNRAttenuation(int value) = 0;
    /// @param value  gets the server's number; null drops it
    virtual int getNRAttenuation(int* value) = 0;
    /// Non-linear processing of the uplink. @param configuration  sent whole; null is refused
    virtual int setNLPConfig(audio_nlp_config_t* configuration) = 0;
    /// @param configuration  its selector says what to ask for; overwritten whole; null is refused
    virtual int getNLPConfig(audio_nlp_config_t* configuration) = 0;
    /// Equaliser of calls. @param equalizer  sent whole; null is refused
    virtual int setHandsfreeEQ(audio_handsfree_eq_t* equalizer) = 0;
    /// @param equalizer  its selector says which one to ask for; overwritten whole; null is refused
    virtual int getHandsfreeEQ(audio_handsfree_eq_t* equalizer) = 0;
    /// Gain control of the converter. @param control  null is refused
    virtual int setDACGainControl(audio_dacgain_ctrl_t* control) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setDACSampleRateCtrl(audio_int_dac_sample_rate_e rate) = 0;
    /// @param energy  gets the energy of the data at the outputs; null is refused
    virtual int getOutPutDataEnergy(audio_out_data_energy_t* energy) = 0;
    /// @param mode  the server's number
    virtual int setReverbMode(audio_reverb_mode_e mode) = 0;

    /// Switches an effect of a stream. Null texts are refused; each is cut to 63 bytes. This holds
    /// for the following operations, too.
    /// @param tag     of the stream, "main" for instance
    /// @param effect  its name
    /// @param on      whether it shall work
    virtual int setEffectEnabled(const char* tag, const char* effect, bool on) = 0;
    /// @param tag     of the stream
    /// @param effect  its name
    /// @param on      gets whether the effect is on
    virtual int getEffectEnabled(const char* tag, const char* effect, bool& on) = 0;
    /// Sets an effect's parameters.
    /// @param tag        of the stream
    /// @param effect     its name
    /// @param parameter  head of a block of `size` + 4 bytes
    /// @retval AUDIO_NO_MEMORY  also for a `size` that no request can hold
    virtual int setEffectParameter(const char* tag, const char* effect,
                                   const effect_param_t& parameter) = 0;
    /// Sends the block and has it overwritten by the server's, head included.
    /// @param tag        of the stream
    /// @param effect     its name
    /// @param parameter  head of a block of `size` + 4 bytes, `size` as it is before the call
    /// @retval AUDIO_NO_MEMORY  also for a `size` that no request can hold
    virtual int getEffectParameter(const char* tag, const char* effect,
                                   effect_param_t& parameter) = 0;

    virtual ~App() = default;
};

}  // namespace audio::QVAudioSetting
