// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTypes.h>

#include <cstddef>
#include <cstdint>

/// @file
/// Records and enumerations of the settings, exchanged with the server unchanged. The server
/// defines "opaque" bytes; set unused ones to zero. Enumerations without enumerators have values
/// that only the server defines: cast them, `static_cast<audio_hw_type_e>(2)`.

/// Seats; values defined by the server.
enum audio_seat_id_e : std::int32_t {};
/// Sources of seats; values defined by the server.
enum audio_source_id_e : std::int32_t {};
/// States of seats; values defined by the server.
enum audio_seat_state_e : std::int32_t {};

namespace audio {

// ---- Volumes ------------------------------------------------------------------------------------

/// A channel and its volume step.
struct audio_channel_gain_t {
    std::uint32_t channel;    ///< 0  audio_channel_idx_e; 65535 is never valid
    std::uint8_t volume;      ///< 4  0 to 148
    std::uint8_t opaque5[3];  ///< 5
};
static_assert(sizeof(audio_channel_gain_t) == 8, "shared with the server");
static_assert(offsetof(audio_channel_gain_t, volume) == 4, "shared with the server");

/// Inputs of the analogue-to-digital converter.
enum audio_input_mux_id_e : std::uint32_t {
    AUDIO_INPUT_MUX_0 = 0,  ///< first input
    AUDIO_INPUT_MUX_1 = 1,  ///< second input
};

// ---- Sources and routing ------------------------------------------------------------------------

/// Pins of the converter's inputs; values defined by the server.
enum audio_input_select_pin_e : std::int32_t {};
/// Sounds of a loudspeaker test; values defined by the server.
enum audio_speaker_test_pattern_e : std::int32_t {};
/// Groups of settings of the serial bus; values defined by the server.
enum audio_i2s_select_param_e : std::uint32_t {};
/// Hardware whose signal energy can be read; values defined by the server.
enum audio_hw_type_e : std::uint32_t {};

/// Outputs to query; a mask of which only the two low bits count.
enum audio_output_src_tag_e : std::uint32_t {};

/// Sample rates that the output may take, 0 to 5.
enum audio_samplerate_capability_e : std::int32_t {};

/// Source of each converter output.
struct audio_dac_output_mapping_tbl_t {
    std::int32_t entry[6];  ///< 10 at most
};
static_assert(sizeof(audio_dac_output_mapping_tbl_t) == 24, "shared with the server");

/// Source of each slot of the serial bus.
struct audio_i2s_output_mapping_tbl_t {
    std::int32_t entry[8];  ///< 10 at most
};
static_assert(sizeof(audio_i2s_output_mapping_tbl_t) == 32, "shared with the server");

/// Settings of the PCM hardware interface.
struct audio_pcm_hw_intf_cfg_t {
    std::uint32_t opaque0[5];  ///< 0
};
static_assert(sizeof(audio_pcm_hw_intf_cfg_t) == 20, "shared with the server");

/// Format of the serial bus. Only six bytes are sent.
struct audio_i2s_format_parameter_t {
    std::uint32_t opaque0;  ///< 0
    std::uint16_t opaque4;  ///< 4
};
static_assert(offsetof(audio_i2s_format_parameter_t, opaque4) == 4, "shared with the server");

/// Information from the server about a track at an output.
struct audio_output_src_parameter_t {
    std::uint8_t opaque0[52];  ///< 0
};
static_assert(sizeof(audio_output_src_parameter_t) == 52, "shared with the server");

/// Information from the server about an active track.
struct audio_track_info_t {
    std::uint8_t opaque0[200];  ///< 0
};
static_assert(sizeof(audio_track_info_t) == 200, "shared with the server");

// ---- Sound effects ------------------------------------------------------------------------------

/// Quality of the echo canceller; values defined by the server.
enum audio_aec_quality_e : std::int32_t {};
/// Reverberation modes; values defined by the server.
enum audio_reverb_mode_e : std::int32_t {};

/// Extended equaliser. Its first word selects the equaliser that a getter reads.
struct audio_ext_eq_parameter_t {
    std::uint32_t selector;     ///< 0
    std::uint8_t opaque4[560];  ///< 4
};
static_assert(sizeof(audio_ext_eq_parameter_t) == 564, "shared with the server");

/// Spectrum of the main output.
struct audio_eq_spectrum_t {
    std::uint32_t opaque0[4];  ///< 0
};
static_assert(sizeof(audio_eq_spectrum_t) == 16, "shared with the server");

/// Non-linear processing of the hands-free uplink. The first word selects what a getter reads.
struct audio_nlp_config_t {
    std::uint32_t selector;    ///< 0
    std::uint32_t opaque4[3];  ///< 4
};
static_assert(sizeof(audio_nlp_config_t) == 16, "shared with the server");

/// Hands-free equaliser. The first word selects what a getter reads.
struct audio_handsfree_eq_t {
    std::uint32_t selector;     ///< 0
    std::uint8_t opaque4[100];  ///< 4
};
static_assert(sizeof(audio_handsfree_eq_t) == 104, "shared with the server");

/// Gain control of the converter.
struct audio_dacgain_ctrl_t {
    std::uint32_t opaque0;  ///< 0
};
static_assert(sizeof(audio_dacgain_ctrl_t) == 4, "shared with the server");

/// Energy of the data at the outputs.
struct audio_out_data_energy_t {
    std::uint32_t opaque0[4];  ///< 0
};
static_assert(sizeof(audio_out_data_energy_t) == 16, "shared with the server");

/// Header of an effect's parameter block. `size` bytes of data follow it in memory: the block that
/// a program passes is `size` + 4 bytes long. Use effectData() to access the data.
struct effect_param_t {
    std::uint32_t size;  ///< 0  bytes that follow
};
static_assert(sizeof(effect_param_t) == 4, "shared with the server");

/// The data behind the header.
inline std::uint8_t* effectData(effect_param_t& block) {
    return reinterpret_cast<std::uint8_t*>(&block) + sizeof block;
}
/// The data behind the header, read-only.
inline const std::uint8_t* effectData(const effect_param_t& block) {
    return reinterpret_cast<const std::uint8_t*>(&block) + sizeof block;
}

// ---- Mixer --------------------------------------------------------------------------------------

/// A channel beyond those of the main output; 65534 at most.
enum audio_ext_channel_idx_e : std::int32_t {};

/// Four mixer gains in steps.
struct audio_mixer_gain_t {
    std::uint32_t opaque0;  ///< 0
    std::uint8_t gain[4];   ///< 4  0 to 100
};
static_assert(sizeof(audio_mixer_gain_t) == 8, "shared with the server");
static_assert(offsetof(audio_mixer_gain_t, gain) == 4, "shared with the server");

/// Four mixer gains in dB.
struct audio_mixer_matrix_t {
    std::uint32_t opaque0;  ///< 0
    float gain[4];          ///< 4  -103.5 to 0.0 dB
};
static_assert(sizeof(audio_mixer_matrix_t) == 20, "shared with the server");
static_assert(offsetof(audio_mixer_matrix_t, gain) == 4, "shared with the server");

// ---- Parameters of operations without effect ----------------------------------------------------

struct audio_filter_parameter_t;
struct audio_bt_parameter_t;
struct audio_loudness_parameter_t;
struct audio_ext_loudness_parameter_t;
struct audio_eq_parameter_t;
struct audio_eq_qvalue_table_t;
struct audio_eq_cf_table_t;
struct audio_dps_user_eq_parameter_t;
struct audio_sound_quality_t;
struct audio_uplink_config_t;
/// Parameter of an operation without effect.
enum audio_dps_profile_id_e : std::int32_t {};
/// Parameter of an operation without effect.
enum audio_eq_type : std::int32_t {};
/// Parameter of an operation without effect.
enum audio_int_dac_sample_rate_e : std::int32_t {};

}  // namespace audio
