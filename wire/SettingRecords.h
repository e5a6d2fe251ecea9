// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>

#include "wire/Layout.h"
#include "wire/Stream.h"

#include <cstddef>
#include <cstdint>

// Records of the requests on settings connections. Many functions share a record. A request begins
// with the function id and a reply with the status; results of a refused request are zeros. The
// function id and the spare bytes of a request have default values, so that an initializer can omit
// them. Records with a float have no unique representation, so they do not satisfy Layout; they
// have no padding.
namespace cabinaudio::wire {

// ---- Parts of records ---------------------------------------------------------------------------

/// A string; one that fills its field has no terminator.
struct Name {
    char text[64];
};

/// A list in a reply, behind the status: a count, then a fixed number of slots.
template <typename Slot, std::uint32_t SLOTS>
struct List {
    std::int32_t count;
    Slot slots[SLOTS];
};

// ---- Requests -----------------------------------------------------------------------------------

/// A number.
struct NumberRequest {
    std::uint32_t function = 0;  // 0
    std::int32_t value;          // 4
};
static_assert(Layout<NumberRequest> && sizeof(NumberRequest) == 8);
static_assert(offsetof(NumberRequest, value) == 4);

struct TwoNumbersRequest {
    std::uint32_t function = 0;  // 0
    std::int32_t first;          // 4
    std::int32_t second;         // 8
};
static_assert(Layout<TwoNumbersRequest> && sizeof(TwoNumbersRequest) == 12);
static_assert(offsetof(TwoNumbersRequest, first) == 4);
static_assert(offsetof(TwoNumbersRequest, second) == 8);

/// Loudspeakers.
struct ChannelRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t channels;      // 4   mask of audio_channel_idx_e
};
static_assert(Layout<ChannelRequest> && sizeof(ChannelRequest) == 8);
static_assert(offsetof(ChannelRequest, channels) == 4);

struct ChannelNumberRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t channels;      // 4   mask of audio_channel_idx_e
    std::int32_t value;          // 8
};
static_assert(Layout<ChannelNumberRequest> && sizeof(ChannelNumberRequest) == 12);
static_assert(offsetof(ChannelNumberRequest, channels) == 4);
static_assert(offsetof(ChannelNumberRequest, value) == 8);

struct PathRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t path;          // 4   audio_out_path_id_e
};
static_assert(Layout<PathRequest> && sizeof(PathRequest) == 8);
static_assert(offsetof(PathRequest, path) == 4);

struct MuteRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t paths;         // 4   mask of audio_out_path_id_e
    std::int32_t option;         // 8   the application's
};
static_assert(Layout<MuteRequest> && sizeof(MuteRequest) == 12);
static_assert(offsetof(MuteRequest, paths) == 4);
static_assert(offsetof(MuteRequest, option) == 8);

struct StepRequest {
    std::uint32_t function = 0;   // 0
    std::uint8_t step;            // 4
    std::uint8_t spare5[3] = {};  // 5
};
static_assert(Layout<StepRequest> && sizeof(StepRequest) == 8);
static_assert(offsetof(StepRequest, step) == 4);

struct GainRequest {
    std::uint32_t function = 0;  // 0
    float gain;                  // 4   dB
};
static_assert(sizeof(GainRequest) == 8);
static_assert(offsetof(GainRequest, gain) == 4);

struct RampRequest {
    std::uint32_t function = 0;  // 0
    float up;                    // 4   ms
    float down;                  // 8   ms
};
static_assert(sizeof(RampRequest) == 12);
static_assert(offsetof(RampRequest, up) == 4);
static_assert(offsetof(RampRequest, down) == 8);

struct ChannelStepRequest {
    std::uint32_t function = 0;         // 0
    audio::audio_channel_gain_t value;  // 4
};
static_assert(Layout<ChannelStepRequest> && sizeof(ChannelStepRequest) == 12);
static_assert(offsetof(ChannelStepRequest, value) == 4);

struct ChannelGainRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t channel;       // 4   mask of audio_channel_idx_e
    float gain;                  // 8   dB
};
static_assert(sizeof(ChannelGainRequest) == 12);
static_assert(offsetof(ChannelGainRequest, channel) == 4);
static_assert(offsetof(ChannelGainRequest, gain) == 8);

/// Gains of one input of the converter.
struct InputGainRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t input;         // 4
    float left;                  // 8   dB
    float right;                 // 12  dB
};
static_assert(sizeof(InputGainRequest) == 16);
static_assert(offsetof(InputGainRequest, input) == 4);
static_assert(offsetof(InputGainRequest, left) == 8);
static_assert(offsetof(InputGainRequest, right) == 12);

/// A tag, or the name of a stream type.
struct NameRequest {
    std::uint32_t function = 0;  // 0
    Name name;                   // 4
};
static_assert(Layout<NameRequest> && sizeof(NameRequest) == 68);
static_assert(offsetof(NameRequest, name) == 4);

struct NameStepRequest {
    std::uint32_t function = 0;    // 0
    Name name;                     // 4
    std::uint8_t step;             // 68
    std::uint8_t spare69[3] = {};  // 69
};
static_assert(Layout<NameStepRequest> && sizeof(NameStepRequest) == 72);
static_assert(offsetof(NameStepRequest, step) == 68);

struct NameGainRequest {
    std::uint32_t function = 0;  // 0
    Name name;                   // 4
    float gain;                  // 68  dB
};
static_assert(sizeof(NameGainRequest) == 72);
static_assert(offsetof(NameGainRequest, gain) == 68);

/// A tag and the name of a stream, source, destination or effect.
struct TwoNamesRequest {
    std::uint32_t function = 0;  // 0
    Name tag;                    // 4
    Name name;                   // 68
};
static_assert(Layout<TwoNamesRequest> && sizeof(TwoNamesRequest) == 132);
static_assert(offsetof(TwoNamesRequest, tag) == 4);
static_assert(offsetof(TwoNamesRequest, name) == 68);

struct TrackStepRequest {
    std::uint32_t function = 0;     // 0
    Name tag;                       // 4
    Name name;                      // 68
    std::uint8_t step;              // 132
    std::uint8_t spare133[3] = {};  // 133
};
static_assert(Layout<TrackStepRequest> && sizeof(TrackStepRequest) == 136);
static_assert(offsetof(TrackStepRequest, step) == 132);

struct TrackGainRequest {
    std::uint32_t function = 0;  // 0
    Name tag;                    // 4
    Name name;                   // 68
    float gain;                  // 132  dB
};
static_assert(sizeof(TrackGainRequest) == 136);
static_assert(offsetof(TrackGainRequest, gain) == 132);

struct TrackChannelsRequest {
    std::uint32_t function = 0;  // 0
    Name tag;                    // 4
    Name name;                   // 68
    float gains[8];              // 132  dB
};
static_assert(sizeof(TrackChannelsRequest) == 164);
static_assert(offsetof(TrackChannelsRequest, gains) == 132);

struct MixerStepsRequest {
    std::uint32_t function = 0;       // 0
    audio::audio_mixer_gain_t value;  // 4   LF, RF, LS, RS
};
static_assert(Layout<MixerStepsRequest> && sizeof(MixerStepsRequest) == 12);
static_assert(offsetof(MixerStepsRequest, value) == 4);

struct MixerGainsRequest {
    std::uint32_t function = 0;         // 0
    audio::audio_mixer_matrix_t value;  // 4   LF, RF, LS, RS
};
static_assert(sizeof(MixerGainsRequest) == 24);
static_assert(offsetof(MixerGainsRequest, value) == 4);

/// A record that is sent unchanged.
template <typename Value>
struct ValueRequest {
    std::uint32_t function = 0;  // 0
    Value value;                 // 4
};
using DacMappingRequest = ValueRequest<audio::audio_dac_output_mapping_tbl_t>;
static_assert(Layout<DacMappingRequest> && sizeof(DacMappingRequest) == 28);
using I2sMappingRequest = ValueRequest<audio::audio_i2s_output_mapping_tbl_t>;
static_assert(Layout<I2sMappingRequest> && sizeof(I2sMappingRequest) == 36);
using PcmInterfaceRequest = ValueRequest<audio::audio_pcm_hw_intf_cfg_t>;
static_assert(Layout<PcmInterfaceRequest> && sizeof(PcmInterfaceRequest) == 24);
using EqualizerRequest = ValueRequest<audio::audio_ext_eq_parameter_t>;
static_assert(Layout<EqualizerRequest> && sizeof(EqualizerRequest) == 568);
using NonLinearRequest = ValueRequest<audio::audio_nlp_config_t>;
static_assert(Layout<NonLinearRequest> && sizeof(NonLinearRequest) == 20);
using HandsfreeEqualizerRequest = ValueRequest<audio::audio_handsfree_eq_t>;
static_assert(Layout<HandsfreeEqualizerRequest> && sizeof(HandsfreeEqualizerRequest) == 108);

struct I2sFormatRequest {
    std::uint32_t function = 0;  // 0
    std::uint32_t selection;     // 4
    std::uint32_t first;         // 8
    std::uint16_t second;        // 12
    std::uint16_t spare14 = {};  // 14
};
static_assert(Layout<I2sFormatRequest> && sizeof(I2sFormatRequest) == 16);
static_assert(offsetof(I2sFormatRequest, selection) == 4);
static_assert(offsetof(I2sFormatRequest, first) == 8);
static_assert(offsetof(I2sFormatRequest, second) == 12);

struct EffectSwitchRequest {
    std::uint32_t function = 0;     // 0
    Name tag;                       // 4
    Name effect;                    // 68
    std::uint8_t isOn;              // 132
    std::uint8_t spare133[3] = {};  // 133
};
static_assert(Layout<EffectSwitchRequest> && sizeof(EffectSwitchRequest) == 136);
static_assert(offsetof(EffectSwitchRequest, isOn) == 132);

/// `size` bytes follow, even in a request that only reads them.
struct EffectRequest {
    std::uint32_t function = 0;  // 0
    Name tag;                    // 4
    Name effect;                 // 68
    std::uint32_t size;          // 132  bytes that follow
};
static_assert(Layout<EffectRequest> && sizeof(EffectRequest) == 136);
static_assert(offsetof(EffectRequest, tag) == 4);
static_assert(offsetof(EffectRequest, effect) == 68);
static_assert(offsetof(EffectRequest, size) == 132);

// ---- Replies ------------------------------------------------------------------------------------

struct VersionReply {
    std::int32_t status;     // 0
    std::int32_t first[3];   // 4   the server's version
    std::int32_t second[3];  // 16
    std::int32_t third;      // 28
};
static_assert(Layout<VersionReply>);
static_assert(sizeof(VersionReply) == 32);
static_assert(offsetof(VersionReply, status) == 0);
static_assert(offsetof(VersionReply, first) == 4);
static_assert(offsetof(VersionReply, second) == 16);
static_assert(offsetof(VersionReply, third) == 28);

struct NumberReply {
    std::int32_t status;  // 0
    std::int32_t value;   // 4
};
static_assert(Layout<NumberReply> && sizeof(NumberReply) == 8);
static_assert(offsetof(NumberReply, value) == 4);

struct StepReply {
    std::int32_t status;     // 0
    std::uint8_t step;       // 4
    std::uint8_t spare5[3];  // 5
};
static_assert(Layout<StepReply> && sizeof(StepReply) == 8);
static_assert(offsetof(StepReply, step) == 4);

struct SwitchReply {
    std::int32_t status;     // 0
    std::uint8_t isOn;       // 4
    std::uint8_t spare5[3];  // 5
};
static_assert(Layout<SwitchReply> && sizeof(SwitchReply) == 8);
static_assert(offsetof(SwitchReply, isOn) == 4);

struct GainReply {
    std::int32_t status;  // 0
    float gain;           // 4   dB
};
static_assert(sizeof(GainReply) == 8);
static_assert(offsetof(GainReply, gain) == 4);

struct DelayReply {
    std::int32_t status;  // 0
    float delay;          // 4   ms
};
static_assert(sizeof(DelayReply) == 8);
static_assert(offsetof(DelayReply, delay) == 4);

struct RampReply {
    std::int32_t status;  // 0
    float up;             // 4   ms
    float down;           // 8   ms
};
static_assert(sizeof(RampReply) == 12);
static_assert(offsetof(RampReply, up) == 4);
static_assert(offsetof(RampReply, down) == 8);

struct ChannelStepReply {
    std::int32_t status;                // 0
    audio::audio_channel_gain_t value;  // 4
};
static_assert(Layout<ChannelStepReply> && sizeof(ChannelStepReply) == 12);
static_assert(offsetof(ChannelStepReply, value) == 4);

struct ChannelGainReply {
    std::int32_t status;    // 0
    std::uint32_t channel;  // 4   audio_channel_idx_e; clients do not look at it
    float gain;             // 8   dB
};
static_assert(sizeof(ChannelGainReply) == 12);
static_assert(offsetof(ChannelGainReply, channel) == 4);
static_assert(offsetof(ChannelGainReply, gain) == 8);

struct InputGainReply {
    std::int32_t status;  // 0
    float left;           // 4   dB
    float right;          // 8  dB
};
static_assert(sizeof(InputGainReply) == 12);
static_assert(offsetof(InputGainReply, left) == 4);
static_assert(offsetof(InputGainReply, right) == 8);

/// Results of a microphone's calibration.
enum class CalibrationResult : std::int32_t {
    None = -1,  // never started, or nothing could be heard
    Done = 0,
    Running = 1,
};

struct CalibrationReply {
    std::int32_t status;  // 0
    float gain;           // 4   dB
    std::int32_t result;  // 8   CalibrationResult
};
static_assert(sizeof(CalibrationReply) == 12);
static_assert(offsetof(CalibrationReply, gain) == 4);
static_assert(offsetof(CalibrationReply, result) == 8);

struct NameReply {
    std::int32_t status;  // 0
    Name name;            // 4
};
static_assert(Layout<NameReply> && sizeof(NameReply) == 68);
static_assert(offsetof(NameReply, name) == 4);

template <typename Slot, std::uint32_t SLOTS>
struct ListReply {
    std::int32_t status;     // 0
    List<Slot, SLOTS> list;  // 4
};
using NamesReply = ListReply<Name, 32>;
static_assert(Layout<NamesReply> && sizeof(NamesReply) == 2056);

/// The development server's information about an active track.
struct TrackInfo {
    Name tag;                // 0
    Name name;               // 64
    Name type;               // 128
    std::uint32_t rate;      // 192  Hz
    std::uint32_t channels;  // 196
};
static_assert(Layout<TrackInfo> && sizeof(TrackInfo) == sizeof(audio::audio_track_info_t));
static_assert(offsetof(TrackInfo, name) == 64);
static_assert(offsetof(TrackInfo, type) == 128);
static_assert(offsetof(TrackInfo, rate) == 192);
static_assert(offsetof(TrackInfo, channels) == 196);
using TracksReply = ListReply<TrackInfo, 32>;
static_assert(Layout<TracksReply> && sizeof(TracksReply) == 6408);

/// The development server's information about a track at an output.
struct OutputTrack {
    char name[32];           // 0   cut to 31 bytes
    std::uint32_t tag;       // 32  AudioTagType
    std::uint32_t rate;      // 36  Hz
    std::uint32_t channels;  // 40
    std::uint32_t bits;      // 44  of a sample
    std::uint32_t isActive;  // 48  0 or 1
};
static_assert(Layout<OutputTrack>);
static_assert(sizeof(OutputTrack) == sizeof(audio::audio_output_src_parameter_t));
static_assert(offsetof(OutputTrack, tag) == 32);
static_assert(offsetof(OutputTrack, rate) == 36);
static_assert(offsetof(OutputTrack, channels) == 40);
static_assert(offsetof(OutputTrack, bits) == 44);
static_assert(offsetof(OutputTrack, isActive) == 48);
using OutputTracksReply = ListReply<OutputTrack, 20>;
static_assert(Layout<OutputTracksReply> && sizeof(OutputTracksReply) == 1048);

/// The outputs in the mask of GetOutputTrackInfo.
constexpr std::uint32_t MAIN_OUTPUT = 1;    // streams of the tag "main"
constexpr std::uint32_t OTHER_OUTPUTS = 2;  // all others

/// The hardware of GetSignalEnergy that the development server has.
constexpr std::int32_t MIX_HARDWARE = 0;

/// Amplitudes are in millionths of full scale; a full-scale square wave has 1000000.
struct LevelsReply {
    std::int32_t status;      // 0
    std::uint32_t levels[4];  // 4   millionths, by loudspeaker LF, RF, LS, RS, or by band
};
static_assert(Layout<LevelsReply> && sizeof(LevelsReply) == 20);
static_assert(offsetof(LevelsReply, levels) == 4);

struct LevelReply {
    std::int32_t status;  // 0
    std::uint32_t level;  // 4   millionths
};
static_assert(Layout<LevelReply> && sizeof(LevelReply) == 8);
static_assert(offsetof(LevelReply, level) == 4);

/// A record that is sent unchanged.
template <typename Value>
struct ValueReply {
    std::int32_t status;  // 0
    Value value;          // 4
};
using DacMappingReply = ValueReply<audio::audio_dac_output_mapping_tbl_t>;
static_assert(Layout<DacMappingReply> && sizeof(DacMappingReply) == 28);
using I2sMappingReply = ValueReply<audio::audio_i2s_output_mapping_tbl_t>;
static_assert(Layout<I2sMappingReply> && sizeof(I2sMappingReply) == 36);
using EqualizerReply = ValueReply<audio::audio_ext_eq_parameter_t>;
static_assert(Layout<EqualizerReply> && sizeof(EqualizerReply) == 568);
using NonLinearReply = ValueReply<audio::audio_nlp_config_t>;
static_assert(Layout<NonLinearReply> && sizeof(NonLinearReply) == 20);
using HandsfreeEqualizerReply = ValueReply<audio::audio_handsfree_eq_t>;
static_assert(Layout<HandsfreeEqualizerReply> && sizeof(HandsfreeEqualizerReply) == 108);

/// Followed by as many bytes as requested.
struct EffectReply {
    std::int32_t status;  // 0
    std::uint32_t size;   // 4   bytes that follow; of a request for none, how many there are
};
static_assert(Layout<EffectReply> && sizeof(EffectReply) == 8);
static_assert(offsetof(EffectReply, size) == 4);

/// Largest block of an effect that is sent: the client reads a reply with a single receive, which
/// returns all of it only while it fits one buffer of the socket.
constexpr std::uint32_t LARGEST_EFFECT = 32768;

}  // namespace cabinaudio::wire
