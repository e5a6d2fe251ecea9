// SPDX-License-Identifier: Apache-2.0
//
// Sizes and offsets of the settings' records.
#include <cabinaudio/QVAudioSetting.h>
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioConnectType.h>
#include <cabinaudio/foundation/AudioMath.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

// An object is its table, its connection, and for sources two names.
static_assert(sizeof(ClientVolumeSetting) == 2 * sizeof(void*));
static_assert(sizeof(ClientAppSetting) == 2 * sizeof(void*));
static_assert(sizeof(ClientMixerSetting) == 2 * sizeof(void*));
static_assert(sizeof(ClientAudioRecordControl) == 2 * sizeof(void*));
static_assert(sizeof(ClientVersionSetting) == 2 * sizeof(void*));
static_assert(sizeof(ClientSourceSetting) == 2 * sizeof(void*) + 128);
static_assert(sizeof(void*) != 4 || sizeof(ClientSourceSetting) == 136);

/// Copied as bytes, and aligned so that a record may lie wherever a word may.
template <typename Record, std::size_t SIZE>
constexpr bool IS_RECORD = sizeof(Record) == SIZE && alignof(Record) <= 4 &&
                           std::is_trivially_copyable_v<Record>&& std::is_standard_layout_v<Record>;

static_assert(IS_RECORD<audio::audio_channel_gain_t, 8>);
static_assert(IS_RECORD<audio::audio_dac_output_mapping_tbl_t, 24>);
static_assert(IS_RECORD<audio::audio_i2s_output_mapping_tbl_t, 32>);
static_assert(IS_RECORD<audio::audio_pcm_hw_intf_cfg_t, 20>);
static_assert(IS_RECORD<audio::audio_i2s_format_parameter_t, 8>);  // of which 6 travel
static_assert(IS_RECORD<audio::audio_output_src_parameter_t, 52>);
static_assert(IS_RECORD<audio::audio_track_info_t, 200>);
static_assert(IS_RECORD<audio::audio_ext_eq_parameter_t, 564>);
static_assert(IS_RECORD<audio::audio_eq_spectrum_t, 16>);
static_assert(IS_RECORD<audio::audio_nlp_config_t, 16>);
static_assert(IS_RECORD<audio::audio_handsfree_eq_t, 104>);
static_assert(IS_RECORD<audio::audio_dacgain_ctrl_t, 4>);
static_assert(IS_RECORD<audio::audio_out_data_energy_t, 16>);
static_assert(IS_RECORD<audio::effect_param_t, 4>);
static_assert(IS_RECORD<audio::audio_mixer_gain_t, 8>);
static_assert(IS_RECORD<audio::audio_mixer_matrix_t, 20>);

// Lists of them lie side by side in replies and in vectors.
static_assert(sizeof(audio::audio_output_src_parameter_t[20]) == 1040);
static_assert(sizeof(audio::audio_track_info_t[32]) == 6400);

static_assert(offsetof(audio::audio_channel_gain_t, channel) == 0);
static_assert(offsetof(audio::audio_channel_gain_t, volume) == 4);
static_assert(offsetof(audio::audio_i2s_format_parameter_t, opaque0) == 0);
static_assert(offsetof(audio::audio_i2s_format_parameter_t, opaque4) == 4);
static_assert(offsetof(audio::audio_ext_eq_parameter_t, selector) == 0);
static_assert(offsetof(audio::audio_nlp_config_t, selector) == 0);
static_assert(offsetof(audio::audio_handsfree_eq_t, selector) == 0);
static_assert(offsetof(audio::effect_param_t, size) == 0);
static_assert(offsetof(audio::audio_mixer_gain_t, gain) == 4);
static_assert(offsetof(audio::audio_mixer_matrix_t, gain) == 4);

// All of them travel as words.
static_assert(sizeof(audio_seat_id_e) == 4 && sizeof(audio_source_id_e) == 4 &&
              sizeof(audio_seat_state_e) == 4);
static_assert(sizeof(audio::audio_channel_idx_e) == 4 && sizeof(audio::audio_out_path_id_e) == 4);
static_assert(sizeof(audio::audio_input_mux_id_e) == 4 &&
              sizeof(audio::audio_input_select_pin_e) == 4);
static_assert(sizeof(audio::audio_speaker_test_pattern_e) == 4 &&
              sizeof(audio::audio_i2s_select_param_e) == 4);
static_assert(sizeof(audio::audio_hw_type_e) == 4 && sizeof(audio::audio_output_src_tag_e) == 4);
static_assert(sizeof(audio::audio_samplerate_capability_e) == 4);
static_assert(sizeof(audio::audio_aec_quality_e) == 4 && sizeof(audio::audio_reverb_mode_e) == 4);
static_assert(sizeof(audio::audio_ext_channel_idx_e) == 4);

TEST(SettingConnectionType, HasItsListedNumber) {
    EXPECT_EQ(AUDIO_CONNECT_APP_SETTING, 128);
    EXPECT_EQ(AUDIO_CONNECT_MIXER_SETTING, 129);
    EXPECT_EQ(AUDIO_CONNECT_SOURCE_SETTING, 130);
    EXPECT_EQ(AUDIO_CONNECT_VOLUME_SETTING, 131);
    EXPECT_EQ(AUDIO_CONNECT_RECORD_CONTROL, 133);
}

TEST(OutputPath, HasItsListedNumber) {
    EXPECT_EQ(audio::AUDIO_OUT_PATH_MAIN, 1);
    EXPECT_EQ(audio::AUDIO_OUT_PATH_ALTERNATIVE, 2);
    EXPECT_EQ(audio::AUDIO_OUT_PATH_SECOND, 4);
    EXPECT_EQ(audio::AUDIO_OUT_PATH_AUXILIARY, 8);
}

// The bytes of records, typed out.
TEST(ChannelGain, HasTheBytesOfTheWire) {
    const audio::audio_channel_gain_t gain{0x04030201, 148, {}};
    const unsigned char expected[] = {1, 2, 3, 4, 148, 0, 0, 0};
    static_assert(sizeof gain == sizeof expected);
    EXPECT_EQ(std::memcmp(&gain, expected, sizeof expected), 0);
}

TEST(MixerGain, HasTheBytesOfTheWire) {
    const audio::audio_mixer_gain_t gain{0x04030201, {10, 20, 30, 100}};
    const unsigned char expected[] = {1, 2, 3, 4, 10, 20, 30, 100};
    static_assert(sizeof gain == sizeof expected);
    EXPECT_EQ(std::memcmp(&gain, expected, sizeof expected), 0);
}

TEST(MixerMatrix, HasTheBytesOfTheWire) {
    const audio::audio_mixer_matrix_t matrix{7, {0.0F, -103.5F, -1.0F, -2.0F}};
    const unsigned char expected[] = {7,    0,    0, 0, 0,    0,    0, 0, 0,    0,
                                      0xcf, 0xc2, 0, 0, 0x80, 0xbf, 0, 0, 0x00, 0xc0};
    static_assert(sizeof matrix == sizeof expected);
    EXPECT_EQ(std::memcmp(&matrix, expected, sizeof expected), 0);
}

TEST(EffectBlock, HasItsDataRightAfterItsSize) {
    alignas(audio::effect_param_t) unsigned char place[12] = {8};
    auto& block = *reinterpret_cast<audio::effect_param_t*>(place);
    EXPECT_EQ(audio::effectData(block), place + 4);
    const audio::effect_param_t& readOnly = block;
    EXPECT_EQ(audio::effectData(readOnly), place + 4);
}

/// Programs read the table by its symbol: pairs of floats, from -24 dB on.
TEST(MicrophoneGainTable, HoldsPairsOfFloats) {
    static_assert(sizeof gmic_gain_table == 71 * 2 * sizeof(float));
    const auto* const pairs = reinterpret_cast<const float*>(gmic_gain_table);
    struct Row {
        int dB;
        float op, pga;
    };
    constexpr Row ROWS[] = {{-24, 0, -24}, {6, 0, 6},    {7, 9, -2},   {11, 9, 2},    {12, 12, 0},
                            {18, 12, 6},   {19, 21, -2}, {27, 21, 6},  {28, 27.5, 0}, {29, 27.5, 1},
                            {30, 30, 0},   {36, 30, 6},  {37, 40, -3}, {46, 40, 6}};
    for (const Row& row : ROWS) {
        EXPECT_EQ(pairs[2 * (row.dB + 24)], row.op) << row.dB << " dB";
        EXPECT_EQ(pairs[2 * (row.dB + 24) + 1], row.pga) << row.dB << " dB";
    }
}

}  // namespace
