// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTypes.h>
#include <cabinaudio/foundation/AudioConnectType.h>
#include <cabinaudio/foundation/AudioExport.h>

#include <cstddef>
#include <cstdint>
#include <string>

/// State of a playback or capture stream.
///
///     NO_INIT --create--> IDLE <--start/stop--> ACTIVE
///     any --server removed the stream--> STOPPING (final)
///     any --destructor--> NO_INIT
enum AudioStreamState : std::int32_t {
    NO_INIT = 0,   ///< not registered with the server, or being destroyed
    IDLE = 1,      ///< accepted by the server, not started
    STOPPING = 2,  ///< the server has removed its side; the client is disconnected
    ACTIVE = 3,    ///< started; data flows
};

/// Purpose of a stream. 0 to 3 play, 64 to 68 capture.
enum AudioTagType : std::uint32_t {
    AUDIO_TAG_MAIN = 0,
    AUDIO_TAG_ALTERNATIVE = 1,
    AUDIO_TAG_AUXILIARY = 2,
    AUDIO_TAG_OUTPUT_INVOCATION = 3,
    AUDIO_TAG_INPUT0 = 64,
    AUDIO_TAG_UPLINK = 65,
    AUDIO_TAG_INPUT1 = 66,
    AUDIO_TAG_INPUT2 = 67,
    AUDIO_TAG_INPUT_FRONT_FEEDBACK = 68,
    AUDIO_TAG_UNKNOWN = 255,
};

/// Sample format: the number of bits; bits + 1 names a second variant of the same width.
enum AudioBitDepthType : std::uint32_t {
    AUDIO_BIT_DEPTH_8 = 8,
    AUDIO_BIT_DEPTH_16 = 16,
    AUDIO_BIT_DEPTH_16_ALT = 17,
    AUDIO_BIT_DEPTH_24 = 24,
    AUDIO_BIT_DEPTH_24_ALT = 25,
    AUDIO_BIT_DEPTH_32 = 32,
    AUDIO_BIT_DEPTH_32_ALT = 33,
};

/// Channel layout: the channel count, or one of two special single-channel maps.
enum AudioChannelMapType : std::uint32_t {
    AUDIO_CHANNEL_MAP_1 = 1,
    AUDIO_CHANNEL_MAP_2 = 2,
    AUDIO_CHANNEL_MAP_3 = 3,
    AUDIO_CHANNEL_MAP_4 = 4,
    AUDIO_CHANNEL_MAP_5 = 5,
    AUDIO_CHANNEL_MAP_6 = 6,
    AUDIO_CHANNEL_MAP_MONO_253 = 253,
    AUDIO_CHANNEL_MAP_MONO_254 = 254,
};

/// Format of a stream; part of every create request, byte for byte.
struct AudioFormatDesc {
    std::uint32_t codecType;         ///< 0 is linear PCM; the server defines other values
    std::uint32_t sampleRate;        ///< frames per second
    std::uint32_t codecParam;        ///< uplink codecs only, otherwise 0
    AudioChannelMapType channelMap;  ///< channels
    std::uint32_t usage;             ///< for the server; not interpreted here
    AudioBitDepthType bitDepth;      ///< linear PCM; codecs 64 and 65: a flag in the first byte
};
static_assert(sizeof(AudioFormatDesc) == 24, "travels on the wire");
static_assert(offsetof(AudioFormatDesc, codecType) == 0, "travels on the wire");
static_assert(offsetof(AudioFormatDesc, sampleRate) == 4, "travels on the wire");
static_assert(offsetof(AudioFormatDesc, codecParam) == 8, "travels on the wire");
static_assert(offsetof(AudioFormatDesc, channelMap) == 12, "travels on the wire");
static_assert(offsetof(AudioFormatDesc, usage) == 16, "travels on the wire");
static_assert(offsetof(AudioFormatDesc, bitDepth) == 20, "travels on the wire");

/// Conversions between the public parameter types and the library's own. Each one searches a small
/// constant table: the first match wins, and a miss gives the default named here. Any thread; none
/// of them logs, and only those that return a string allocate.
class CABINAUDIO_API AudioTypes {
public:
    /// Tag of a name ("main", "alternative", "auxiliary", "output_input0_invocation",
    /// "output_uplink_invocation", "uplink", "input0", "input1", "input2", "input_front_feedback";
    /// case-sensitive). Miss: 255.
    static AudioTagType getTagType(std::string& tag);
    /// Name of a tag. Miss: empty. Tag 3 has two names; this returns the first one.
    static std::string getTag(AudioTagType tag) noexcept;
    /// Name of the tag that an output path belongs to. Miss: empty.
    static std::string getTag(audio::audio_out_path_id_e path) noexcept;
    /// Connection type that a stream of this tag opens. Miss: 255.
    static audio_connect_type getConnectType(AudioTagType tag);

    /// Codec number on the wire. Miss: 0, linear PCM.
    static std::uint32_t getCodecType(audio::audio_codec_e codec);
    /// Usage number on the wire. Miss: 0.
    static std::uint32_t getUsageType(audio::audio_codec_e codec);

    /// Miss: 16 bits.
    static AudioBitDepthType getBitDepthType(audio::multi_audio_fmt format);
    /// From bits per sample. Miss: 16 bits.
    static AudioBitDepthType getBitDepthType(int bits);
    /// Miss: 16.
    static int getBitsPerSample(AudioBitDepthType bitDepth);
    /// Bytes per sample. Miss: 2.
    static int getBytesPerSample(AudioBitDepthType bitDepth);
    /// FFmpeg's sample format number. Miss: 1, signed 16 bits.
    static int getFfmpegSampleFormat(AudioBitDepthType bitDepth);

    /// Miss: 2 channels.
    static AudioChannelMapType getChannelMapType(audio::multi_audio_chl layout);
    /// From a channel count. Miss: 2 channels.
    static AudioChannelMapType getChannelMapType(int channels);
    /// Channel count of a map. Miss: 2.
    static int getChannelNumber(AudioChannelMapType channelMap);
    /// FFmpeg's channel value. Miss: 1.
    static int getFfmpegSampleChannel(AudioChannelMapType channelMap);
    /// Short name of one loudspeaker position, not of a mask. Miss: empty.
    static std::string getChannelName(audio::audio_channel_idx_e channel) noexcept;
    /// Position of a short name ("LF", "RF", "LS", "RS", "CF", "L1"; case-sensitive). Miss: 0.
    static audio::audio_channel_idx_e getChannelType(std::string& name);

    /// The rate itself when it is a common one from 8000 to 192000 Hz. Miss: 48000.
    static unsigned getFfmpegSampleRate(unsigned rate);

    /// Fills `format` for a playback stream; every field is written.
    static void getFormatDesc(AudioFormatDesc& format, audio::audio_decoder_parameter_t& parameter);
    /// Fills `format` for an uplink capture stream; every field is written.
    static void getFormatDesc(AudioFormatDesc& format, audio::audio_uplink_parameter_t& parameter);
};
