// SPDX-License-Identifier: Apache-2.0
// Generated from the headers in wire/ by devkit/protocol/generate.py.
#include "devkit/trace/WireFields.h"

#include <algorithm>
#include <array>
#include <utility>

namespace cabinaudio::trace {
namespace {

// clang-format off
constexpr std::array AUDIO_CONNECT_CHOICES = {
    WireChoice{0, "AUDIO_CONNECT_MAIN"},
    WireChoice{1, "AUDIO_CONNECT_ALTERNATIVE"},
    WireChoice{2, "AUDIO_CONNECT_AUXILIARY"},
    WireChoice{3, "AUDIO_CONNECT_OUTPUT_INVOCATION"},
    WireChoice{64, "AUDIO_CONNECT_INPUT0"},
    WireChoice{65, "AUDIO_CONNECT_UPLINK"},
    WireChoice{66, "AUDIO_CONNECT_INPUT1"},
    WireChoice{67, "AUDIO_CONNECT_INPUT2"},
    WireChoice{68, "AUDIO_CONNECT_INPUT_FRONT_FEEDBACK"},
    WireChoice{128, "AUDIO_CONNECT_APP_SETTING"},
    WireChoice{129, "AUDIO_CONNECT_MIXER_SETTING"},
    WireChoice{130, "AUDIO_CONNECT_SOURCE_SETTING"},
    WireChoice{131, "AUDIO_CONNECT_VOLUME_SETTING"},
    WireChoice{132, "AUDIO_CONNECT_VERSION_SETTING"},
    WireChoice{133, "AUDIO_CONNECT_RECORD_CONTROL"},
    WireChoice{255, "AUDIO_CONNECT_UNKNOWN"},
};
constexpr std::array AUDIO_STATUS_CHOICES = {
    WireChoice{0, "AUDIO_NO_ERROR"},
    WireChoice{-1000, "AUDIO_NOT_CONNECTED"},
    WireChoice{-1990, "AUDIO_NO_MEMORY"},
    WireChoice{-2000, "AUDIO_TIMED_OUT"},
    WireChoice{-2992, "AUDIO_BAD_SEQUENCE"},
    WireChoice{-3000, "AUDIO_BAD_VALUE"},
    WireChoice{-8000, "AUDIO_INVALID_OPERATION"},
    WireChoice{-9998, "AUDIO_INVALID_STATE"},
};
constexpr std::array AUDIO_PARAM_CMD_CHOICES = {
    WireChoice{195, "AUDIO_CMD_CALL"},
    WireChoice{196, "AUDIO_CMD_REGISTER"},
    WireChoice{198, "AUDIO_CMD_CALL_FLAG"},
};
constexpr std::array AUDIO_PARAM_HANDLE_CHOICES = {
    WireChoice{1644546, "AUDIO_REGISTER_WORD"},
};
constexpr std::array SOCKET_FRAME_HEADER_MAGIC_CHOICES = {
    WireChoice{1122867, "FRAME_MAGIC"},
};
constexpr std::array SOCKET_FRAME_HEADER_HEADER_ID_CHOICES = {
    WireChoice{0, "HEADER_NOTIFY"},
    WireChoice{1, "HEADER_REPLY"},
};
constexpr std::array CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES = {
    WireChoice{1, "AUDIO_CHANNEL_LF"},
    WireChoice{2, "AUDIO_CHANNEL_RF"},
    WireChoice{4, "AUDIO_CHANNEL_LS"},
    WireChoice{8, "AUDIO_CHANNEL_RS"},
    WireChoice{16, "AUDIO_CHANNEL_CF"},
    WireChoice{32, "AUDIO_CHANNEL_L1"},
};
constexpr std::array OUTPUT_TRACK_TAG_CHOICES = {
    WireChoice{0, "AUDIO_TAG_MAIN"},
    WireChoice{1, "AUDIO_TAG_ALTERNATIVE"},
    WireChoice{2, "AUDIO_TAG_AUXILIARY"},
    WireChoice{3, "AUDIO_TAG_OUTPUT_INVOCATION"},
    WireChoice{64, "AUDIO_TAG_INPUT0"},
    WireChoice{65, "AUDIO_TAG_UPLINK"},
    WireChoice{66, "AUDIO_TAG_INPUT1"},
    WireChoice{67, "AUDIO_TAG_INPUT2"},
    WireChoice{68, "AUDIO_TAG_INPUT_FRONT_FEEDBACK"},
    WireChoice{255, "AUDIO_TAG_UNKNOWN"},
};
constexpr std::array MUTE_REQUEST_PATHS_CHOICES = {
    WireChoice{0, "AUDIO_OUT_PATH_NONE"},
    WireChoice{1, "AUDIO_OUT_PATH_MAIN"},
    WireChoice{2, "AUDIO_OUT_PATH_ALTERNATIVE"},
    WireChoice{4, "AUDIO_OUT_PATH_SECOND"},
    WireChoice{8, "AUDIO_OUT_PATH_AUXILIARY"},
};
constexpr std::array CALIBRATION_REPLY_RESULT_CHOICES = {
    WireChoice{-1, "None"},
    WireChoice{0, "Done"},
    WireChoice{1, "Running"},
};
constexpr std::array CREATE_REQUEST_CODEC_TYPE_CHOICES = {
    WireChoice{0, "CODEC_PCM"},
    WireChoice{16, "CODEC_LOAS"},
    WireChoice{32, "CODEC_OPUS"},
    WireChoice{65, "CODEC_MSBC"},
};
constexpr std::array CREATE_REQUEST_CHANNEL_MAP_CHOICES = {
    WireChoice{1, "AUDIO_CHANNEL_MAP_1"},
    WireChoice{2, "AUDIO_CHANNEL_MAP_2"},
    WireChoice{3, "AUDIO_CHANNEL_MAP_3"},
    WireChoice{4, "AUDIO_CHANNEL_MAP_4"},
    WireChoice{5, "AUDIO_CHANNEL_MAP_5"},
    WireChoice{6, "AUDIO_CHANNEL_MAP_6"},
    WireChoice{253, "AUDIO_CHANNEL_MAP_MONO_253"},
    WireChoice{254, "AUDIO_CHANNEL_MAP_MONO_254"},
};
constexpr std::array CREATE_REQUEST_BIT_DEPTH_CHOICES = {
    WireChoice{8, "AUDIO_BIT_DEPTH_8"},
    WireChoice{16, "AUDIO_BIT_DEPTH_16"},
    WireChoice{17, "AUDIO_BIT_DEPTH_16_ALT"},
    WireChoice{24, "AUDIO_BIT_DEPTH_24"},
    WireChoice{25, "AUDIO_BIT_DEPTH_24_ALT"},
    WireChoice{32, "AUDIO_BIT_DEPTH_32"},
    WireChoice{33, "AUDIO_BIT_DEPTH_32_ALT"},
};

constexpr std::array AUDIO_PARAM_FIELDS = {
    WireField{"cmd", 0, FieldType::U32, 1, "", 4, nullptr, AUDIO_PARAM_CMD_CHOICES, false},
    WireField{"type", 4, FieldType::U32, 1, "", 4, nullptr, AUDIO_CONNECT_CHOICES, false},
    WireField{"handle", 8, FieldType::U32, 1, "", 4, nullptr, AUDIO_PARAM_HANDLE_CHOICES, false},
    WireField{"length", 12, FieldType::U32, 1, "bytes", 4, nullptr, {}, false},
    WireField{"timestamp", 16, FieldType::U64, 1, "us", 8, nullptr, {}, false},
    WireField{"name", 24, FieldType::Text, 1, "", 64, nullptr, {}, false},
};
constexpr WireRecord AUDIO_PARAM = {"audio_param", 88, AUDIO_PARAM_FIELDS, false};

constexpr std::array SOCKET_FRAME_HEADER_FIELDS = {
    WireField{"magic", 0, FieldType::U32, 1, "", 4, nullptr, SOCKET_FRAME_HEADER_MAGIC_CHOICES, false},
    WireField{"headerId", 4, FieldType::U32, 1, "", 4, nullptr, SOCKET_FRAME_HEADER_HEADER_ID_CHOICES, false},
    WireField{"event", 8, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"spare12", 12, FieldType::Unused, 1, "", 4, nullptr, {}, false},
    WireField{"sendTimeUs", 16, FieldType::U64, 1, "us", 8, nullptr, {}, false},
    WireField{"param", 24, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"spare28", 28, FieldType::Unused, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord SOCKET_FRAME_HEADER = {"SocketFrameHeader", 32, SOCKET_FRAME_HEADER_FIELDS, false};

constexpr std::array REGISTRATION_REPLY_FIELDS = {
    WireField{"spare0", 0, FieldType::Unused, 1, "", 4, nullptr, {}, false},
    WireField{"handle", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord REGISTRATION_REPLY = {"RegistrationReply", 8, REGISTRATION_REPLY_FIELDS, false};

constexpr std::array FUNCTION_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord FUNCTION_REQUEST = {"FunctionRequest", 4, FUNCTION_REQUEST_FIELDS, false};

constexpr std::array LEVELS_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"levels", 4, FieldType::U32, 4, "millionths", 4, nullptr, {}, false},
};
constexpr WireRecord LEVELS_REPLY = {"LevelsReply", 20, LEVELS_REPLY_FIELDS, false};

constexpr std::array CHANNEL_NUMBER_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"channels", 4, FieldType::U32, 1, "", 4, nullptr, CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES, true},
    WireField{"value", 8, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord CHANNEL_NUMBER_REQUEST = {"ChannelNumberRequest", 12, CHANNEL_NUMBER_REQUEST_FIELDS, false};

constexpr std::array STATUS_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
};
constexpr WireRecord STATUS_REPLY = {"StatusReply", 4, STATUS_REPLY_FIELDS, false};

constexpr std::array CHANNEL_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"channels", 4, FieldType::U32, 1, "", 4, nullptr, CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES, true},
};
constexpr WireRecord CHANNEL_REQUEST = {"ChannelRequest", 8, CHANNEL_REQUEST_FIELDS, false};

constexpr std::array DELAY_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"delay", 4, FieldType::F32, 1, "ms", 4, nullptr, {}, false},
};
constexpr WireRecord DELAY_REPLY = {"DelayReply", 8, DELAY_REPLY_FIELDS, false};

constexpr std::array NUMBER_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"value", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord NUMBER_REQUEST = {"NumberRequest", 8, NUMBER_REQUEST_FIELDS, false};

constexpr std::array NUMBER_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"value", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord NUMBER_REPLY = {"NumberReply", 8, NUMBER_REPLY_FIELDS, false};

constexpr std::array EQUALIZER_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"selector", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque4", 8, FieldType::Bytes, 1, "", 560, nullptr, {}, false},
};
constexpr WireRecord EQUALIZER_REQUEST = {"EqualizerRequest", 568, EQUALIZER_REQUEST_FIELDS, false};

constexpr std::array EQUALIZER_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"selector", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque4", 8, FieldType::Bytes, 1, "", 560, nullptr, {}, false},
};
constexpr WireRecord EQUALIZER_REPLY = {"EqualizerReply", 568, EQUALIZER_REPLY_FIELDS, false};

constexpr std::array NON_LINEAR_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"selector", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque4", 8, FieldType::U32, 3, "", 4, nullptr, {}, false},
};
constexpr WireRecord NON_LINEAR_REQUEST = {"NonLinearRequest", 20, NON_LINEAR_REQUEST_FIELDS, false};

constexpr std::array NON_LINEAR_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"selector", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque4", 8, FieldType::U32, 3, "", 4, nullptr, {}, false},
};
constexpr WireRecord NON_LINEAR_REPLY = {"NonLinearReply", 20, NON_LINEAR_REPLY_FIELDS, false};

constexpr std::array HANDSFREE_EQUALIZER_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"selector", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque4", 8, FieldType::Bytes, 1, "", 100, nullptr, {}, false},
};
constexpr WireRecord HANDSFREE_EQUALIZER_REQUEST = {"HandsfreeEqualizerRequest", 108, HANDSFREE_EQUALIZER_REQUEST_FIELDS, false};

constexpr std::array HANDSFREE_EQUALIZER_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"selector", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque4", 8, FieldType::Bytes, 1, "", 100, nullptr, {}, false},
};
constexpr WireRecord HANDSFREE_EQUALIZER_REPLY = {"HandsfreeEqualizerReply", 108, HANDSFREE_EQUALIZER_REPLY_FIELDS, false};

constexpr std::array EFFECT_SWITCH_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"effect", 68, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"isOn", 132, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"spare133", 133, FieldType::Unused, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord EFFECT_SWITCH_REQUEST = {"EffectSwitchRequest", 136, EFFECT_SWITCH_REQUEST_FIELDS, false};

constexpr std::array TWO_NAMES_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"name", 68, FieldType::Text, 1, "", 64, nullptr, {}, false},
};
constexpr WireRecord TWO_NAMES_REQUEST = {"TwoNamesRequest", 132, TWO_NAMES_REQUEST_FIELDS, false};

constexpr std::array SWITCH_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"isOn", 4, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"spare5", 5, FieldType::Unused, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord SWITCH_REPLY = {"SwitchReply", 8, SWITCH_REPLY_FIELDS, false};

constexpr std::array EFFECT_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"effect", 68, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"size", 132, FieldType::U32, 1, "bytes", 4, nullptr, {}, false},
};
constexpr WireRecord EFFECT_REQUEST = {"EffectRequest", 136, EFFECT_REQUEST_FIELDS, true};

constexpr std::array EFFECT_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"size", 4, FieldType::U32, 1, "bytes", 4, nullptr, {}, false},
};
constexpr WireRecord EFFECT_REPLY = {"EffectReply", 8, EFFECT_REPLY_FIELDS, true};

constexpr std::array MIXER_STEPS_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque0", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"gain", 8, FieldType::U8, 4, "", 1, nullptr, {}, false},
};
constexpr WireRecord MIXER_STEPS_REQUEST = {"MixerStepsRequest", 12, MIXER_STEPS_REQUEST_FIELDS, false};

constexpr std::array MIXER_GAINS_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque0", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"gain", 8, FieldType::F32, 4, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord MIXER_GAINS_REQUEST = {"MixerGainsRequest", 24, MIXER_GAINS_REQUEST_FIELDS, false};

constexpr std::array TWO_NUMBERS_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"first", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
    WireField{"second", 8, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord TWO_NUMBERS_REQUEST = {"TwoNumbersRequest", 12, TWO_NUMBERS_REQUEST_FIELDS, false};

constexpr std::array DAC_MAPPING_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"entry", 4, FieldType::I32, 6, "", 4, nullptr, {}, false},
};
constexpr WireRecord DAC_MAPPING_REQUEST = {"DacMappingRequest", 28, DAC_MAPPING_REQUEST_FIELDS, false};

constexpr std::array DAC_MAPPING_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"entry", 4, FieldType::I32, 6, "", 4, nullptr, {}, false},
};
constexpr WireRecord DAC_MAPPING_REPLY = {"DacMappingReply", 28, DAC_MAPPING_REPLY_FIELDS, false};

constexpr std::array I2S_MAPPING_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"entry", 4, FieldType::I32, 8, "", 4, nullptr, {}, false},
};
constexpr WireRecord I2S_MAPPING_REQUEST = {"I2sMappingRequest", 36, I2S_MAPPING_REQUEST_FIELDS, false};

constexpr std::array I2S_MAPPING_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"entry", 4, FieldType::I32, 8, "", 4, nullptr, {}, false},
};
constexpr WireRecord I2S_MAPPING_REPLY = {"I2sMappingReply", 36, I2S_MAPPING_REPLY_FIELDS, false};

constexpr std::array NAME_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"name", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
};
constexpr WireRecord NAME_REQUEST = {"NameRequest", 68, NAME_REQUEST_FIELDS, false};

constexpr std::array PCM_INTERFACE_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"opaque0", 4, FieldType::U32, 5, "", 4, nullptr, {}, false},
};
constexpr WireRecord PCM_INTERFACE_REQUEST = {"PcmInterfaceRequest", 24, PCM_INTERFACE_REQUEST_FIELDS, false};

constexpr std::array NAME_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"name", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
};
constexpr WireRecord NAME_REPLY = {"NameReply", 68, NAME_REPLY_FIELDS, false};

constexpr std::array I2S_FORMAT_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"selection", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"first", 8, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"second", 12, FieldType::U16, 1, "", 2, nullptr, {}, false},
    WireField{"spare14", 14, FieldType::Unused, 1, "", 2, nullptr, {}, false},
};
constexpr WireRecord I2S_FORMAT_REQUEST = {"I2sFormatRequest", 16, I2S_FORMAT_REQUEST_FIELDS, false};

constexpr std::array OUTPUT_TRACK_FIELDS = {
    WireField{"name", 0, FieldType::Text, 1, "", 32, nullptr, {}, false},
    WireField{"tag", 32, FieldType::U32, 1, "", 4, nullptr, OUTPUT_TRACK_TAG_CHOICES, false},
    WireField{"rate", 36, FieldType::U32, 1, "Hz", 4, nullptr, {}, false},
    WireField{"channels", 40, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"bits", 44, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"isActive", 48, FieldType::U32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord OUTPUT_TRACK = {"OutputTrack", 52, OUTPUT_TRACK_FIELDS, false};

constexpr std::array OUTPUT_TRACKS_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"count", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
    WireField{"slots", 8, FieldType::Record, 20, "", 52, &OUTPUT_TRACK, {}, false},
};
constexpr WireRecord OUTPUT_TRACKS_REPLY = {"OutputTracksReply", 1048, OUTPUT_TRACKS_REPLY_FIELDS, false};

constexpr std::array NAMES_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"count", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
    WireField{"slots", 8, FieldType::Text, 32, "", 64, nullptr, {}, false},
};
constexpr WireRecord NAMES_REPLY = {"NamesReply", 2056, NAMES_REPLY_FIELDS, false};

constexpr std::array LEVEL_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"level", 4, FieldType::U32, 1, "millionths", 4, nullptr, {}, false},
};
constexpr WireRecord LEVEL_REPLY = {"LevelReply", 8, LEVEL_REPLY_FIELDS, false};

constexpr std::array TRACK_INFO_FIELDS = {
    WireField{"tag", 0, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"name", 64, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"type", 128, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"rate", 192, FieldType::U32, 1, "Hz", 4, nullptr, {}, false},
    WireField{"channels", 196, FieldType::U32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord TRACK_INFO = {"TrackInfo", 200, TRACK_INFO_FIELDS, false};

constexpr std::array TRACKS_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"count", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
    WireField{"slots", 8, FieldType::Record, 32, "", 200, &TRACK_INFO, {}, false},
};
constexpr WireRecord TRACKS_REPLY = {"TracksReply", 6408, TRACKS_REPLY_FIELDS, false};

constexpr std::array STEP_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"step", 4, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"spare5", 5, FieldType::Unused, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord STEP_REQUEST = {"StepRequest", 8, STEP_REQUEST_FIELDS, false};

constexpr std::array STEP_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"step", 4, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"spare5", 5, FieldType::Unused, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord STEP_REPLY = {"StepReply", 8, STEP_REPLY_FIELDS, false};

constexpr std::array CHANNEL_STEP_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"channel", 4, FieldType::U32, 1, "", 4, nullptr, CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES, true},
    WireField{"volume", 8, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"opaque5", 9, FieldType::Bytes, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord CHANNEL_STEP_REQUEST = {"ChannelStepRequest", 12, CHANNEL_STEP_REQUEST_FIELDS, false};

constexpr std::array CHANNEL_STEP_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"channel", 4, FieldType::U32, 1, "", 4, nullptr, CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES, true},
    WireField{"volume", 8, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"opaque5", 9, FieldType::Bytes, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord CHANNEL_STEP_REPLY = {"ChannelStepReply", 12, CHANNEL_STEP_REPLY_FIELDS, false};

constexpr std::array MUTE_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"paths", 4, FieldType::U32, 1, "", 4, nullptr, MUTE_REQUEST_PATHS_CHOICES, true},
    WireField{"option", 8, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord MUTE_REQUEST = {"MuteRequest", 12, MUTE_REQUEST_FIELDS, false};

constexpr std::array INPUT_GAIN_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"input", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"left", 8, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
    WireField{"right", 12, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord INPUT_GAIN_REQUEST = {"InputGainRequest", 16, INPUT_GAIN_REQUEST_FIELDS, false};

constexpr std::array INPUT_GAIN_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"left", 4, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
    WireField{"right", 8, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord INPUT_GAIN_REPLY = {"InputGainReply", 12, INPUT_GAIN_REPLY_FIELDS, false};

constexpr std::array GAIN_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"gain", 4, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord GAIN_REQUEST = {"GainRequest", 8, GAIN_REQUEST_FIELDS, false};

constexpr std::array GAIN_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"gain", 4, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord GAIN_REPLY = {"GainReply", 8, GAIN_REPLY_FIELDS, false};

constexpr std::array TRACK_STEP_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"name", 68, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"step", 132, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"spare133", 133, FieldType::Unused, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord TRACK_STEP_REQUEST = {"TrackStepRequest", 136, TRACK_STEP_REQUEST_FIELDS, false};

constexpr std::array TRACK_GAIN_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"name", 68, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"gain", 132, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord TRACK_GAIN_REQUEST = {"TrackGainRequest", 136, TRACK_GAIN_REQUEST_FIELDS, false};

constexpr std::array CHANNEL_GAIN_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"channel", 4, FieldType::U32, 1, "", 4, nullptr, CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES, true},
    WireField{"gain", 8, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord CHANNEL_GAIN_REQUEST = {"ChannelGainRequest", 12, CHANNEL_GAIN_REQUEST_FIELDS, false};

constexpr std::array CHANNEL_GAIN_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"channel", 4, FieldType::U32, 1, "", 4, nullptr, CHANNEL_NUMBER_REQUEST_CHANNELS_CHOICES, true},
    WireField{"gain", 8, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord CHANNEL_GAIN_REPLY = {"ChannelGainReply", 12, CHANNEL_GAIN_REPLY_FIELDS, false};

constexpr std::array PATH_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"path", 4, FieldType::U32, 1, "", 4, nullptr, MUTE_REQUEST_PATHS_CHOICES, true},
};
constexpr WireRecord PATH_REQUEST = {"PathRequest", 8, PATH_REQUEST_FIELDS, false};

constexpr std::array NAME_STEP_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"name", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"step", 68, FieldType::U8, 1, "", 1, nullptr, {}, false},
    WireField{"spare69", 69, FieldType::Unused, 1, "", 3, nullptr, {}, false},
};
constexpr WireRecord NAME_STEP_REQUEST = {"NameStepRequest", 72, NAME_STEP_REQUEST_FIELDS, false};

constexpr std::array NAME_GAIN_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"name", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"gain", 68, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord NAME_GAIN_REQUEST = {"NameGainRequest", 72, NAME_GAIN_REQUEST_FIELDS, false};

constexpr std::array CALIBRATION_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"gain", 4, FieldType::F32, 1, "dB", 4, nullptr, {}, false},
    WireField{"result", 8, FieldType::I32, 1, "", 4, nullptr, CALIBRATION_REPLY_RESULT_CHOICES, false},
};
constexpr WireRecord CALIBRATION_REPLY = {"CalibrationReply", 12, CALIBRATION_REPLY_FIELDS, false};

constexpr std::array TRACK_CHANNELS_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"name", 68, FieldType::Text, 1, "", 64, nullptr, {}, false},
    WireField{"gains", 132, FieldType::F32, 8, "dB", 4, nullptr, {}, false},
};
constexpr WireRecord TRACK_CHANNELS_REQUEST = {"TrackChannelsRequest", 164, TRACK_CHANNELS_REQUEST_FIELDS, false};

constexpr std::array RAMP_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"up", 4, FieldType::F32, 1, "ms", 4, nullptr, {}, false},
    WireField{"down", 8, FieldType::F32, 1, "ms", 4, nullptr, {}, false},
};
constexpr WireRecord RAMP_REQUEST = {"RampRequest", 12, RAMP_REQUEST_FIELDS, false};

constexpr std::array RAMP_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"up", 4, FieldType::F32, 1, "ms", 4, nullptr, {}, false},
    WireField{"down", 8, FieldType::F32, 1, "ms", 4, nullptr, {}, false},
};
constexpr WireRecord RAMP_REPLY = {"RampReply", 12, RAMP_REPLY_FIELDS, false};

constexpr std::array VERSION_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"first", 4, FieldType::I32, 3, "", 4, nullptr, {}, false},
    WireField{"second", 16, FieldType::I32, 3, "", 4, nullptr, {}, false},
    WireField{"third", 28, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord VERSION_REPLY = {"VersionReply", 32, VERSION_REPLY_FIELDS, false};

constexpr std::array SHARE_MEMORY_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"address", 4, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"size", 8, FieldType::U32, 1, "bytes", 4, nullptr, {}, false},
};
constexpr WireRecord SHARE_MEMORY_REPLY = {"ShareMemoryReply", 12, SHARE_MEMORY_REPLY_FIELDS, false};

constexpr std::array CREATE_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"tag", 4, FieldType::U32, 1, "", 4, nullptr, OUTPUT_TRACK_TAG_CHOICES, false},
    WireField{"codecType", 8, FieldType::U32, 1, "", 4, nullptr, CREATE_REQUEST_CODEC_TYPE_CHOICES, false},
    WireField{"sampleRate", 12, FieldType::U32, 1, "Hz", 4, nullptr, {}, false},
    WireField{"codecParam", 16, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"channelMap", 20, FieldType::U32, 1, "", 4, nullptr, CREATE_REQUEST_CHANNEL_MAP_CHOICES, false},
    WireField{"usage", 24, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"bitDepth", 28, FieldType::U32, 1, "", 4, nullptr, CREATE_REQUEST_BIT_DEPTH_CHOICES, false},
    WireField{"streamParam", 32, FieldType::I32, 1, "", 4, nullptr, {}, false},
    WireField{"pid", 36, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord CREATE_REQUEST = {"CreateRequest", 40, CREATE_REQUEST_FIELDS, false};

constexpr std::array CREATE_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"spare4", 4, FieldType::Unused, 1, "", 4, nullptr, {}, false},
    WireField{"ringSize", 8, FieldType::U32, 1, "bytes", 4, nullptr, {}, false},
    WireField{"perLoopSize", 12, FieldType::I32, 1, "bytes", 4, nullptr, {}, false},
    WireField{"perLoopTime", 16, FieldType::I32, 1, "ms", 4, nullptr, {}, false},
    WireField{"perLoopSamples", 20, FieldType::I32, 1, "frames", 4, nullptr, {}, false},
    WireField{"spare24", 24, FieldType::Unused, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord CREATE_REPLY = {"CreateReply", 28, CREATE_REPLY_FIELDS, false};

constexpr std::array KEY_SHIFT_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"key", 4, FieldType::F32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord KEY_SHIFT_REQUEST = {"KeyShiftRequest", 8, KEY_SHIFT_REQUEST_FIELDS, false};

constexpr std::array VOLUME_REQUEST_FIELDS = {
    WireField{"function", 0, FieldType::U32, 1, "", 4, nullptr, {}, false},
    WireField{"volume", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord VOLUME_REQUEST = {"VolumeRequest", 8, VOLUME_REQUEST_FIELDS, false};

constexpr std::array VOLUME_REPLY_FIELDS = {
    WireField{"status", 0, FieldType::I32, 1, "", 4, nullptr, AUDIO_STATUS_CHOICES, false},
    WireField{"volume", 4, FieldType::I32, 1, "", 4, nullptr, {}, false},
};
constexpr WireRecord VOLUME_REPLY = {"VolumeReply", 8, VOLUME_REPLY_FIELDS, false};

constexpr std::array OPERATIONS = {
    WireOperation{0, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{0, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{0, 12, "writeDone", &FUNCTION_REQUEST, &STATUS_REPLY, true, "WriteDone", "no more data follows", ""},
    WireOperation{0, 19, "sourceDeactivated", &FUNCTION_REQUEST, &STATUS_REPLY, true, "SourceDeactivated", "acknowledges the withdrawal of the source", ""},
    WireOperation{0, 20, "getShareMemory", &FUNCTION_REQUEST, &SHARE_MEMORY_REPLY, true, "GetShareMemory", "address of the ring", ""},
    WireOperation{0, 21, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{1, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{1, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{1, 8, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{1, 12, "writeDone", &FUNCTION_REQUEST, &STATUS_REPLY, true, "WriteDone", "no more data follows", ""},
    WireOperation{1, 20, "getShareMemory", &FUNCTION_REQUEST, &SHARE_MEMORY_REPLY, true, "GetShareMemory", "address of the ring", ""},
    WireOperation{1, 21, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{1, 22, "setKeyShift", &KEY_SHIFT_REQUEST, &STATUS_REPLY, true, "SetKeyShift", "shifts the key, 0.8 to 1.2", ""},
    WireOperation{2, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{2, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{2, 8, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{2, 12, "writeDone", &FUNCTION_REQUEST, &STATUS_REPLY, true, "WriteDone", "no more data follows", ""},
    WireOperation{2, 20, "getShareMemory", &FUNCTION_REQUEST, &SHARE_MEMORY_REPLY, true, "GetShareMemory", "address of the ring", ""},
    WireOperation{2, 21, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{2, 22, "setKeyShift", &KEY_SHIFT_REQUEST, &STATUS_REPLY, true, "SetKeyShift", "shifts the key, 0.8 to 1.2", ""},
    WireOperation{3, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{3, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{3, 8, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{3, 12, "writeDone", &FUNCTION_REQUEST, &STATUS_REPLY, true, "WriteDone", "no more data follows", ""},
    WireOperation{3, 20, "getShareMemory", &FUNCTION_REQUEST, &SHARE_MEMORY_REPLY, true, "GetShareMemory", "address of the ring", ""},
    WireOperation{3, 21, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{3, 22, "setKeyShift", &KEY_SHIFT_REQUEST, &STATUS_REPLY, true, "SetKeyShift", "shifts the key, 0.8 to 1.2", ""},
    WireOperation{64, 2, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{64, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{64, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{64, 8, "setVolume", &VOLUME_REQUEST, &STATUS_REPLY, true, "SetVolume", "volume, 0 to 100", ""},
    WireOperation{64, 9, "getVolume", &FUNCTION_REQUEST, &VOLUME_REPLY, false, "GetVolume", "volume, 0 to 100", ""},
    WireOperation{64, 10, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{65, 2, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{65, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{65, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, false, "Stop", "stops the stream", ""},
    WireOperation{65, 10, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{65, 18, "getShareMemory", &FUNCTION_REQUEST, &SHARE_MEMORY_REPLY, false, "GetShareMemory", "address of the ring", ""},
    WireOperation{65, 19, "removeShareMemory", &FUNCTION_REQUEST, &STATUS_REPLY, false, "RemoveShareMemory", "acknowledges the withdrawal of the ring", ""},
    WireOperation{66, 2, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{66, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{66, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{66, 8, "setVolume", &VOLUME_REQUEST, &STATUS_REPLY, true, "SetVolume", "volume, 0 to 100", ""},
    WireOperation{66, 9, "getVolume", &FUNCTION_REQUEST, &VOLUME_REPLY, false, "GetVolume", "volume, 0 to 100", ""},
    WireOperation{66, 10, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{67, 2, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{67, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{67, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{67, 8, "setVolume", &VOLUME_REQUEST, &STATUS_REPLY, true, "SetVolume", "volume, 0 to 100", ""},
    WireOperation{67, 9, "getVolume", &FUNCTION_REQUEST, &VOLUME_REPLY, false, "GetVolume", "volume, 0 to 100", ""},
    WireOperation{67, 10, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{68, 2, "create", &CREATE_REQUEST, &CREATE_REPLY, true, "Create", "creates the stream", ""},
    WireOperation{68, 6, "start", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Start", "starts the stream", ""},
    WireOperation{68, 7, "stop", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Stop", "stops the stream", ""},
    WireOperation{68, 8, "setVolume", &VOLUME_REQUEST, &STATUS_REPLY, true, "SetVolume", "volume, 0 to 100", ""},
    WireOperation{68, 9, "getVolume", &FUNCTION_REQUEST, &VOLUME_REPLY, false, "GetVolume", "volume, 0 to 100", ""},
    WireOperation{68, 10, "initCheck", &FUNCTION_REQUEST, &STATUS_REPLY, false, "InitCheck", "whether the stream is usable", ""},
    WireOperation{128, 11, "getEqualizerSpectrum", &FUNCTION_REQUEST, &LEVELS_REPLY, true, "GetSpectrum", "spectrum of the output", ""},
    WireOperation{128, 22, "setSpeakerDelay", &CHANNEL_NUMBER_REQUEST, &STATUS_REPLY, true, "SetSpeakerDelay", "delay of loudspeakers, in microseconds", "us"},
    WireOperation{128, 23, "getSpeakerDelay", &CHANNEL_REQUEST, &DELAY_REPLY, true, "GetSpeakerDelay", "delay of a loudspeaker", ""},
    WireOperation{128, 24, "setQualityOfAEC", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetEchoQuality", "quality of the echo canceller", ""},
    WireOperation{128, 25, "getQualityOfAEC", &FUNCTION_REQUEST, &NUMBER_REPLY, true, "GetEchoQuality", "quality of the echo canceller", ""},
    WireOperation{128, 29, "enableByPassMode", &FUNCTION_REQUEST, &STATUS_REPLY, true, "EnableBypass", "switches bypass on", ""},
    WireOperation{128, 30, "disableByPassMode", &FUNCTION_REQUEST, &STATUS_REPLY, true, "DisableBypass", "switches bypass off", ""},
    WireOperation{128, 34, "getOutPutDataEnergy", &FUNCTION_REQUEST, &LEVELS_REPLY, true, "GetOutputEnergy", "energy at the outputs", ""},
    WireOperation{128, 35, "setEqualizer", &EQUALIZER_REQUEST, &STATUS_REPLY, true, "SetEqualizer", "an equaliser", ""},
    WireOperation{128, 36, "getEqualizer", &NUMBER_REQUEST, &EQUALIZER_REPLY, true, "GetEqualizer", "the equaliser of a selector", ""},
    WireOperation{128, 37, "setDownlinkDelayEstimation", &FUNCTION_REQUEST, &STATUS_REPLY, true, "SetDelayEstimation", "measures the delay of the downlink", ""},
    WireOperation{128, 38, "getDownlinkDelayEstimation", &FUNCTION_REQUEST, &NUMBER_REPLY, true, "GetDelayEstimation", "delay of the downlink, in ms", "ms"},
    WireOperation{128, 40, "setDuplexOfAEC", &NUMBER_REQUEST, &STATUS_REPLY, false, "SetDuplex", "duplex of the echo canceller", ""},
    WireOperation{128, 41, "getDuplexOfAEC", &FUNCTION_REQUEST, &NUMBER_REPLY, false, "GetDuplex", "duplex of the echo canceller", ""},
    WireOperation{128, 42, "setNRAttenuation", &NUMBER_REQUEST, &STATUS_REPLY, false, "SetNoiseReduction", "attenuation of the noise reduction", ""},
    WireOperation{128, 43, "getNRAttenuation", &FUNCTION_REQUEST, &NUMBER_REPLY, false, "GetNoiseReduction", "attenuation of the noise reduction", ""},
    WireOperation{128, 44, "setNLPConfig", &NON_LINEAR_REQUEST, &STATUS_REPLY, true, "SetNonLinear", "non-linear processing", ""},
    WireOperation{128, 45, "getNLPConfig", &NUMBER_REQUEST, &NON_LINEAR_REPLY, true, "GetNonLinear", "non-linear processing of a selector", ""},
    WireOperation{128, 46, "setHandsfreeEQ", &HANDSFREE_EQUALIZER_REQUEST, &STATUS_REPLY, true, "SetHandsfreeEqualizer", "an equaliser of calls", ""},
    WireOperation{128, 47, "getHandsfreeEQ", &NUMBER_REQUEST, &HANDSFREE_EQUALIZER_REPLY, true, "GetHandsfreeEqualizer", "the equaliser of calls of a selector", ""},
    WireOperation{128, 48, "setDACGainControl", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetDacGain", "gain of the converter", ""},
    WireOperation{128, 50, "setReverbMode", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetReverbMode", "reverb mode", ""},
    WireOperation{128, 4096, "setEffectEnabled", &EFFECT_SWITCH_REQUEST, &STATUS_REPLY, true, "SetEffectEnabled", "switches an effect", ""},
    WireOperation{128, 4097, "getEffectEnabled", &TWO_NAMES_REQUEST, &SWITCH_REPLY, true, "GetEffectEnabled", "whether an effect is on", ""},
    WireOperation{128, 4098, "setEffectParameter", &EFFECT_REQUEST, &STATUS_REPLY, true, "SetEffectParameter", "parameter of an effect", ""},
    WireOperation{128, 4099, "getEffectParameter", &EFFECT_REQUEST, &EFFECT_REPLY, true, "GetEffectParameter", "parameter of an effect", ""},
    WireOperation{129, 2, "setUpMixMode", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetUpMixMode", "up-mix mode", ""},
    WireOperation{129, 3, "mixExtGps", &NUMBER_REQUEST, &STATUS_REPLY, true, "MixExtGps", "navigation mode", ""},
    WireOperation{129, 4, "setGpsMixerGain", &MIXER_STEPS_REQUEST, &STATUS_REPLY, true, "SetGpsGain", "gains of navigation", ""},
    WireOperation{129, 7, "setAlternativeAudioMixerGain", &MIXER_STEPS_REQUEST, &STATUS_REPLY, true, "SetAlternativeGain", "gains of alternative", ""},
    WireOperation{129, 8, "setGpsMixerGain", &MIXER_GAINS_REQUEST, &STATUS_REPLY, true, "SetGpsMatrix", "gains of navigation", ""},
    WireOperation{129, 10, "setAlternativeAudioMixerGain", &MIXER_GAINS_REQUEST, &STATUS_REPLY, true, "SetAlternativeMatrix", "gains of alternative", ""},
    WireOperation{129, 11, "setHwAlternativeAudioMixerWithMain", &TWO_NUMBERS_REQUEST, &STATUS_REPLY, true, "MixAlternativeInHardware", "mixes alternative audio in hardware: channels, on", ""},
    WireOperation{129, 12, "getUpMixMode", &FUNCTION_REQUEST, &NUMBER_REPLY, true, "GetUpMixMode", "up-mix mode", ""},
    WireOperation{130, 2, "selectSource", &TWO_NUMBERS_REQUEST, &STATUS_REPLY, true, "SelectSource", "source (second number) of a seat (first)", ""},
    WireOperation{130, 3, "setFrontAudioState", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetFrontState", "state of the front seats", ""},
    WireOperation{130, 4, "setRearAudioState", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetRearState", "state of the rear seats", ""},
    WireOperation{130, 5, "setAdcMuxPin", &TWO_NUMBERS_REQUEST, &STATUS_REPLY, true, "SetAdcMuxPin", "pin (second number) of a converter's input (first)", ""},
    WireOperation{130, 6, "getAdcMuxPin", &NUMBER_REQUEST, &NUMBER_REPLY, true, "GetAdcMuxPin", "pin of a converter's input", ""},
    WireOperation{130, 8, "setDacOutPutMapping", &DAC_MAPPING_REQUEST, &STATUS_REPLY, true, "SetDacMapping", "mapping of the converter's outputs", ""},
    WireOperation{130, 9, "getDacOutPutMapping", &FUNCTION_REQUEST, &DAC_MAPPING_REPLY, true, "GetDacMapping", "mapping of the converter's outputs", ""},
    WireOperation{130, 10, "setI2sOutPutMapping", &I2S_MAPPING_REQUEST, &STATUS_REPLY, true, "SetI2sMapping", "mapping of the serial bus", ""},
    WireOperation{130, 11, "getI2sOutPutMapping", &FUNCTION_REQUEST, &I2S_MAPPING_REPLY, true, "GetI2sMapping", "mapping of the serial bus", ""},
    WireOperation{130, 12, "setAdcLeftRightSwitch", &NUMBER_REQUEST, &STATUS_REPLY, false, "SetAdcLeftRightSwitch", "exchanges left and right of the input", ""},
    WireOperation{130, 14, "setOutPutSource", &TWO_NAMES_REQUEST, &STATUS_REPLY, true, "SetOutputSource", "source that an output plays", ""},
    WireOperation{130, 15, "setInputDestination", &TWO_NAMES_REQUEST, &STATUS_REPLY, true, "SetInputDestination", "where an input goes", ""},
    WireOperation{130, 16, "dumpOutPutSourceList", &NAME_REQUEST, &STATUS_REPLY, true, "DumpOutputSources", "writes the sources of an output into the server's log", ""},
    WireOperation{130, 17, "dumpInputDestinationList", &NAME_REQUEST, &STATUS_REPLY, true, "DumpInputDestinations", "writes the destinations of an input into the server's log", ""},
    WireOperation{130, 18, "setMainAudioSpeakerTestPattern", &CHANNEL_NUMBER_REQUEST, &STATUS_REPLY, false, "SetSpeakerPattern", "tests loudspeakers with a pattern", ""},
    WireOperation{130, 19, "setMainAudioSpeakerTestPattern", &CHANNEL_NUMBER_REQUEST, &STATUS_REPLY, false, "SetSpeakerTone", "tests loudspeakers with a tone, in Hz", "Hz"},
    WireOperation{130, 20, "configurePcmHwInterface", &PCM_INTERFACE_REQUEST, &STATUS_REPLY, true, "ConfigurePcmInterface", "configuration of the PCM interface", ""},
    WireOperation{130, 21, "enablePcmHwInterface", &NUMBER_REQUEST, &STATUS_REPLY, false, "EnablePcmInterface", "switches the PCM interface", ""},
    WireOperation{130, 22, "setSpeakerOutPut", &CHANNEL_REQUEST, &STATUS_REPLY, false, "SetSpeakerOutput", "loudspeakers that are heard", ""},
    WireOperation{130, 23, "getSpeakerOutPut", &FUNCTION_REQUEST, &NUMBER_REPLY, false, "GetSpeakerOutput", "loudspeakers that are heard", ""},
    WireOperation{130, 24, "getOutPutSource", &NAME_REQUEST, &NAME_REPLY, true, "GetOutputSource", "source that an output plays", ""},
    WireOperation{130, 25, "getInputDestination", &NAME_REQUEST, &NAME_REPLY, true, "GetInputDestination", "where an input goes", ""},
    WireOperation{130, 26, "getActivedSourceNumber", &NAME_REQUEST, &NUMBER_REPLY, true, "GetSourceNumber", "number of active streams of a tag", ""},
    WireOperation{130, 27, "setHandsfreeDelay", &NUMBER_REQUEST, &STATUS_REPLY, false, "SetHandsfreeDelay", "delay of the hands-free processing", ""},
    WireOperation{130, 28, "setSamplerateCapability", &NUMBER_REQUEST, &STATUS_REPLY, false, "SetSampleRateCapability", "sample rates of the output, 0 to 5", ""},
    WireOperation{130, 30, "setI2sFormatAndConfig", &I2S_FORMAT_REQUEST, &STATUS_REPLY, true, "SetI2sFormat", "format of the serial bus", ""},
    WireOperation{130, 32, "getOutputTrackInfo", &NUMBER_REQUEST, &OUTPUT_TRACKS_REPLY, true, "GetOutputTrackInfo", "tracks of outputs (1 main, 2 all others)", ""},
    WireOperation{130, 34, "setHwAutoRampMode", &NUMBER_REQUEST, &STATUS_REPLY, false, "SetAutoRamp", "ramps changes or not", ""},
    WireOperation{130, 35, "getTrackStreamType", &TWO_NAMES_REQUEST, &NAME_REPLY, true, "GetTrackStreamType", "stream type of a track", ""},
    WireOperation{130, 36, "getActiveTracksName", &NAME_REQUEST, &NAMES_REPLY, true, "GetActiveTrackNames", "names of the active streams of a tag", ""},
    WireOperation{130, 37, "getHWSignalEnergy", &NUMBER_REQUEST, &LEVEL_REPLY, true, "GetSignalEnergy", "energy of a signal of the hardware", ""},
    WireOperation{130, 38, "getActiveTracksInfo", &FUNCTION_REQUEST, &TRACKS_REPLY, true, "GetActiveTracks", "the active tracks", ""},
    WireOperation{131, 2, "setMainAudioDunkingMode", &NUMBER_REQUEST, &STATUS_REPLY, true, "SetDuckingMode", "ducking mode", ""},
    WireOperation{131, 3, "setMainAudioDunkingTargetGain", &STEP_REQUEST, &STATUS_REPLY, true, "SetDuckingTargetStep", "ducking target", ""},
    WireOperation{131, 4, "setMasterVolume", &STEP_REQUEST, &STATUS_REPLY, true, "SetMasterStep", "volume of main", ""},
    WireOperation{131, 5, "getMasterVolume", &FUNCTION_REQUEST, &STEP_REPLY, true, "GetMasterStep", "volume of main", ""},
    WireOperation{131, 6, "setChannelGain", &CHANNEL_STEP_REQUEST, &STATUS_REPLY, true, "SetChannelStep", "volume of loudspeakers", ""},
    WireOperation{131, 7, "getChannelGain", &CHANNEL_REQUEST, &CHANNEL_STEP_REPLY, true, "GetChannelStep", "volume of a loudspeaker", ""},
    WireOperation{131, 8, "mute", &MUTE_REQUEST, &STATUS_REPLY, true, "Mute", "mutes paths", ""},
    WireOperation{131, 9, "demute", &MUTE_REQUEST, &STATUS_REPLY, true, "Demute", "unmutes paths", ""},
    WireOperation{131, 10, "setAdcPgaGain", &INPUT_GAIN_REQUEST, &STATUS_REPLY, true, "SetAdcPgaGain", "programmable amplifier of a converter's input", ""},
    WireOperation{131, 11, "getAdcPgaGain", &NUMBER_REQUEST, &INPUT_GAIN_REPLY, true, "GetAdcPgaGain", "programmable amplifier of a converter's input", ""},
    WireOperation{131, 12, "setAdcOpGain", &INPUT_GAIN_REQUEST, &STATUS_REPLY, true, "SetAdcOpGain", "operational amplifier of a converter's input", ""},
    WireOperation{131, 13, "getAdcOpGain", &NUMBER_REQUEST, &INPUT_GAIN_REPLY, true, "GetAdcOpGain", "operational amplifier of a converter's input", ""},
    WireOperation{131, 14, "setUpLinkGain", &GAIN_REQUEST, &STATUS_REPLY, true, "SetUpLinkGain", "gain of the uplink", ""},
    WireOperation{131, 15, "getUpLinkGain", &FUNCTION_REQUEST, &GAIN_REPLY, true, "GetUpLinkGain", "gain of the uplink", ""},
    WireOperation{131, 16, "setSecondAudioVolume", &STEP_REQUEST, &STATUS_REPLY, true, "SetSecondStep", "volume of second", ""},
    WireOperation{131, 17, "getSecondAudioVolume", &FUNCTION_REQUEST, &STEP_REPLY, true, "GetSecondStep", "volume of second", ""},
    WireOperation{131, 18, "setTrackVolume", &TRACK_STEP_REQUEST, &STATUS_REPLY, true, "SetTrackStep", "volume of a track", ""},
    WireOperation{131, 19, "getTrackVolume", &TWO_NAMES_REQUEST, &STEP_REPLY, true, "GetTrackStep", "volume of a track", ""},
    WireOperation{131, 20, "setMasterVolume", &GAIN_REQUEST, &STATUS_REPLY, true, "SetMasterGain", "volume of main", ""},
    WireOperation{131, 21, "getMasterVolume", &FUNCTION_REQUEST, &GAIN_REPLY, true, "GetMasterGain", "volume of main", ""},
    WireOperation{131, 22, "setSecondAudioVolume", &GAIN_REQUEST, &STATUS_REPLY, true, "SetSecondGain", "volume of second", ""},
    WireOperation{131, 23, "getSecondAudioVolume", &FUNCTION_REQUEST, &GAIN_REPLY, true, "GetSecondGain", "volume of second", ""},
    WireOperation{131, 24, "setTrackVolume", &TRACK_GAIN_REQUEST, &STATUS_REPLY, true, "SetTrackGain", "volume of a track", ""},
    WireOperation{131, 25, "getTrackVolume", &TWO_NAMES_REQUEST, &GAIN_REPLY, true, "GetTrackGain", "volume of a track", ""},
    WireOperation{131, 26, "setMainAudioDunkingTargetGain", &GAIN_REQUEST, &STATUS_REPLY, true, "SetDuckingTargetGain", "ducking target", ""},
    WireOperation{131, 27, "setChannelGain", &CHANNEL_GAIN_REQUEST, &STATUS_REPLY, true, "SetChannelGain", "volume of loudspeakers", ""},
    WireOperation{131, 28, "getChannelGain", &CHANNEL_REQUEST, &CHANNEL_GAIN_REPLY, true, "GetChannelGain", "volume of a loudspeaker", ""},
    WireOperation{131, 29, "setAlterAudioVolume", &STEP_REQUEST, &STATUS_REPLY, true, "SetAlternativeStep", "volume of alternative", ""},
    WireOperation{131, 30, "getAlterAudioVolume", &FUNCTION_REQUEST, &STEP_REPLY, true, "GetAlternativeStep", "volume of alternative", ""},
    WireOperation{131, 31, "setAlterAudioVolume", &GAIN_REQUEST, &STATUS_REPLY, true, "SetAlternativeGain", "volume of alternative", ""},
    WireOperation{131, 32, "getAlterAudioVolume", &FUNCTION_REQUEST, &GAIN_REPLY, true, "GetAlternativeGain", "volume of alternative", ""},
    WireOperation{131, 33, "getMuteState", &PATH_REQUEST, &SWITCH_REPLY, true, "GetMuteState", "whether a path is muted", ""},
    WireOperation{131, 34, "setVolumeByStreamType", &NAME_STEP_REQUEST, &STATUS_REPLY, true, "SetStreamTypeStep", "volume of a stream type", ""},
    WireOperation{131, 35, "getVolumeByStreamType", &NAME_REQUEST, &STEP_REPLY, true, "GetStreamTypeStep", "volume of a stream type", ""},
    WireOperation{131, 36, "getStreamTypeList", &FUNCTION_REQUEST, &NAMES_REPLY, true, "GetStreamTypes", "the stream types", ""},
    WireOperation{131, 37, "duck", &NUMBER_REQUEST, &STATUS_REPLY, true, "Duck", "ducks to a percentage", "%"},
    WireOperation{131, 38, "unduck", &FUNCTION_REQUEST, &STATUS_REPLY, true, "Unduck", "ends ducking", ""},
    WireOperation{131, 39, "setGainByStreamType", &NAME_GAIN_REQUEST, &STATUS_REPLY, true, "SetStreamTypeGain", "volume of a stream type", ""},
    WireOperation{131, 40, "getGainByStreamType", &NAME_REQUEST, &GAIN_REPLY, true, "GetStreamTypeGain", "volume of a stream type", ""},
    WireOperation{131, 41, "startMicGainCalibration", &FUNCTION_REQUEST, &STATUS_REPLY, false, "StartMicCalibration", "calibrates the microphone", ""},
    WireOperation{131, 42, "getMicGainCalibrationResult", &FUNCTION_REQUEST, &CALIBRATION_REPLY, true, "GetMicCalibration", "result of the calibration: 0 done, 1 running, -1 none", ""},
    WireOperation{131, 43, "setTrackChannelGain", &TRACK_CHANNELS_REQUEST, &STATUS_REPLY, true, "SetTrackChannelGains", "gains of a track's channels", ""},
    WireOperation{131, 44, "setMasterVolumeRampDuration", &RAMP_REQUEST, &STATUS_REPLY, true, "SetMasterRamp", "ramp of volume changes", ""},
    WireOperation{131, 45, "getMasterVolumeRampDuration", &FUNCTION_REQUEST, &RAMP_REPLY, true, "GetMasterRamp", "ramp of volume changes", ""},
    WireOperation{132, 0, "getServerVersions", &FUNCTION_REQUEST, &VERSION_REPLY, true, "GetServerVersions", "versions of the server", ""},
    WireOperation{133, 0, "set", &EFFECT_REQUEST, &STATUS_REPLY, true, "Set", "parameter of a capture stream's effect", ""},
    WireOperation{133, 1, "get", &EFFECT_REQUEST, &EFFECT_REPLY, true, "Get", "parameter of a capture stream's effect", ""},
};

constexpr std::array EVENTS = {
    WireEvent{0, 3, "SourceActivated"},
    WireEvent{0, 4, "SourceDeactivated"},
    WireEvent{0, 5, "Finished"},
    WireEvent{0, 255, "Removed"},
    WireEvent{1, 3, "RingReady"},
    WireEvent{1, 4, "Finished"},
    WireEvent{1, 255, "Removed"},
    WireEvent{2, 3, "RingReady"},
    WireEvent{2, 4, "Finished"},
    WireEvent{2, 255, "Removed"},
    WireEvent{3, 3, "RingReady"},
    WireEvent{3, 4, "Finished"},
    WireEvent{3, 255, "Removed"},
    WireEvent{64, 2, "RingState"},
    WireEvent{64, 255, "Removed"},
    WireEvent{65, 2, "RingState"},
    WireEvent{65, 255, "Removed"},
    WireEvent{66, 2, "RingState"},
    WireEvent{66, 255, "Removed"},
    WireEvent{67, 2, "RingState"},
    WireEvent{67, 255, "Removed"},
    WireEvent{68, 2, "RingState"},
    WireEvent{68, 255, "Removed"},
};

template <typename Entry, typename Key>
const Entry* find(std::span<const Entry> entries, const Key& key,
                  std::pair<std::uint32_t, std::uint32_t> wanted) {
    const auto place = std::lower_bound(
        entries.begin(), entries.end(), wanted,
        [&](const Entry& entry, const auto& value) { return key(entry) < value; });
    return place != entries.end() && key(*place) == wanted ? &*place : nullptr;
}

}  // namespace

std::span<const WireOperation> wireOperations() {
    return OPERATIONS;
}

const WireOperation* findOperation(std::uint32_t connection, std::uint32_t function) {
    return find(
        wireOperations(),
        [](const WireOperation& entry) { return std::pair(entry.connection, entry.function); },
        {connection, function});
}

std::span<const WireEvent> wireEvents() {
    return EVENTS;
}

const WireEvent* findEvent(std::uint32_t connection, std::uint32_t event) {
    return find(
        wireEvents(),
        [](const WireEvent& entry) { return std::pair(entry.connection, entry.event); },
        {connection, event});
}

std::span<const WireChoice> connectionTypes() {
    return AUDIO_CONNECT_CHOICES;
}

std::span<const WireChoice> statusCodes() {
    return AUDIO_STATUS_CHOICES;
}

const char* nameOf(std::span<const WireChoice> choices, std::int64_t value) {
    const auto place =
        std::find_if(choices.begin(), choices.end(),
                     [&](const WireChoice& choice) { return choice.value == value; });
    return place != choices.end() ? place->name : nullptr;
}

const WireRecord& clientHeader() {
    return AUDIO_PARAM;
}

const WireRecord& frameHeader() {
    return SOCKET_FRAME_HEADER;
}

const WireRecord& registrationReply() {
    return REGISTRATION_REPLY;
}

}  // namespace cabinaudio::trace
