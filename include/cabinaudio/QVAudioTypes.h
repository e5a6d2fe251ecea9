// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

/// @file
/// Parameter types that applications share with the audio server. All enumerations are 32 bits wide
/// in records.

/// Application interfaces of cabinaudio, independent of the client classes.
namespace audio {

/// Output path of a playback stream.
enum audio_out_path_id_e : std::int32_t {
    AUDIO_OUT_PATH_NONE = 0,
    AUDIO_OUT_PATH_MAIN = 1,
    AUDIO_OUT_PATH_ALTERNATIVE = 2,
    AUDIO_OUT_PATH_SECOND = 4,
    AUDIO_OUT_PATH_AUXILIARY = 8,
};

/// Codec of a stream. The server defines the meaning of the coded values; the library only passes
/// them on (see AudioTypes::getCodecType).
enum audio_codec_e : std::int32_t {
    AUDIO_CODEC_PCM = 0,
    AUDIO_CODEC_3 = 3,
    AUDIO_CODEC_4 = 4,
    AUDIO_CODEC_5 = 5,
    AUDIO_CODEC_6 = 6,
    AUDIO_CODEC_7 = 7,
    AUDIO_CODEC_8 = 8,
    AUDIO_CODEC_PCM_USAGE1 = 9,
    AUDIO_CODEC_PCM_USAGE2 = 10,
    AUDIO_CODEC_4_USAGE2 = 11,
};

/// Sample format of linear PCM.
enum multi_audio_fmt : std::int32_t {
    MULTI_AUDIO_FMT_U8 = 0,
    MULTI_AUDIO_FMT_S16 = 1,
    MULTI_AUDIO_FMT_S24 = 2,
};

/// Channel layout.
enum multi_audio_chl : std::int32_t {
    MULTI_AUDIO_CHL_MONO = 0,
    MULTI_AUDIO_CHL_STEREO = 1,
    MULTI_AUDIO_CHL_3 = 2,
    MULTI_AUDIO_CHL_3_ALT = 4,
    MULTI_AUDIO_CHL_4 = 5,
    MULTI_AUDIO_CHL_4_ALT = 8,
    MULTI_AUDIO_CHL_5 = 10,
    MULTI_AUDIO_CHL_6 = 11,
    MULTI_AUDIO_CHL_MONO_253 = 27,
    MULTI_AUDIO_CHL_MONO_254 = 28,
};

/// One loudspeaker position; the values are bits of a mask.
enum audio_channel_idx_e : std::int32_t {
    AUDIO_CHANNEL_LF = 1,
    AUDIO_CHANNEL_RF = 2,
    AUDIO_CHANNEL_LS = 4,
    AUDIO_CHANNEL_RS = 8,
    AUDIO_CHANNEL_CF = 16,
    AUDIO_CHANNEL_L1 = 32,
};

/// Describes a playback stream. Set unused fields to zero.
struct audio_decoder_parameter_t {
    audio_codec_e codec;         ///< 0
    std::int32_t channels;       ///< 4   channel count
    std::uint32_t sampleRate;    ///< 8   frames per second
    std::int32_t bitsPerSample;  ///< 12  linear PCM only
    std::uint8_t opaque16[8];    ///< 16  for the server
    std::uint16_t flag;          ///< 24  non-zero means set; coded streams only
    std::uint8_t opaque26[2];    ///< 26  for the server
};
static_assert(sizeof(audio_decoder_parameter_t) == 28, "shared with the server");
static_assert(offsetof(audio_decoder_parameter_t, codec) == 0, "shared with the server");
static_assert(offsetof(audio_decoder_parameter_t, channels) == 4, "shared with the server");
static_assert(offsetof(audio_decoder_parameter_t, sampleRate) == 8, "shared with the server");
static_assert(offsetof(audio_decoder_parameter_t, bitsPerSample) == 12, "shared with the server");
static_assert(offsetof(audio_decoder_parameter_t, flag) == 24, "shared with the server");

/// Describes an uplink capture stream. Set unused fields to zero.
struct audio_uplink_parameter_t {
    audio_codec_e codec;            ///< 0
    std::uint32_t sampleRate;       ///< 4   frames per second
    multi_audio_fmt sampleFormat;   ///< 8   linear PCM only
    multi_audio_chl channelLayout;  ///< 12
    std::uint8_t opaque16[8];       ///< 16  for the server
    std::uint32_t codecParam;       ///< 24  meaning depends on the codec
};
static_assert(sizeof(audio_uplink_parameter_t) == 28, "shared with the server");
static_assert(offsetof(audio_uplink_parameter_t, codec) == 0, "shared with the server");
static_assert(offsetof(audio_uplink_parameter_t, sampleRate) == 4, "shared with the server");
static_assert(offsetof(audio_uplink_parameter_t, sampleFormat) == 8, "shared with the server");
static_assert(offsetof(audio_uplink_parameter_t, channelLayout) == 12, "shared with the server");
static_assert(offsetof(audio_uplink_parameter_t, codecParam) == 24, "shared with the server");

}  // namespace audio
