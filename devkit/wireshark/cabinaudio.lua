-- SPDX-License-Identifier: Apache-2.0
-- Wireshark dissector of cabinaudio's captures: pcapng files of link type USER0, one packet for
-- each message or ring summary. docs/wireshark.md describes its use.

-- begin catalogue, generated from wire/ by devkit/protocol/generate.py
-- Names of values.
local CHOICES = {
    ["RecordHeader.kind"] = {[0] = "Connected", [1] = "ToServer", [2] = "ToClient", [3] = "Disconnected", [4] = "Ring", [5] = "Sound", [6] = "Lost"},
    ["RecordHeader.type"] = {[0] = "AUDIO_CONNECT_MAIN", [1] = "AUDIO_CONNECT_ALTERNATIVE", [2] = "AUDIO_CONNECT_AUXILIARY", [3] = "AUDIO_CONNECT_OUTPUT_INVOCATION", [64] = "AUDIO_CONNECT_INPUT0", [65] = "AUDIO_CONNECT_UPLINK", [66] = "AUDIO_CONNECT_INPUT1", [67] = "AUDIO_CONNECT_INPUT2", [68] = "AUDIO_CONNECT_INPUT_FRONT_FEEDBACK", [128] = "AUDIO_CONNECT_APP_SETTING", [129] = "AUDIO_CONNECT_MIXER_SETTING", [130] = "AUDIO_CONNECT_SOURCE_SETTING", [131] = "AUDIO_CONNECT_VOLUME_SETTING", [132] = "AUDIO_CONNECT_VERSION_SETTING", [133] = "AUDIO_CONNECT_RECORD_CONTROL", [255] = "AUDIO_CONNECT_UNKNOWN", [4294967295] = "UNKNOWN"},
    ["RecordHeader.function"] = {[4294967295] = "UNKNOWN"},
    ["RingSummary.event"] = {[1] = "Write", [2] = "Read", [3] = "Notify", [4] = "Wait"},
    ["SoundHeader.direction"] = {[0] = "ToServer", [1] = "ToClient"},
    ["audio_param.cmd"] = {[195] = "AUDIO_CMD_CALL", [196] = "AUDIO_CMD_REGISTER", [198] = "AUDIO_CMD_CALL_FLAG"},
    ["audio_param.type"] = {[0] = "AUDIO_CONNECT_MAIN", [1] = "AUDIO_CONNECT_ALTERNATIVE", [2] = "AUDIO_CONNECT_AUXILIARY", [3] = "AUDIO_CONNECT_OUTPUT_INVOCATION", [64] = "AUDIO_CONNECT_INPUT0", [65] = "AUDIO_CONNECT_UPLINK", [66] = "AUDIO_CONNECT_INPUT1", [67] = "AUDIO_CONNECT_INPUT2", [68] = "AUDIO_CONNECT_INPUT_FRONT_FEEDBACK", [128] = "AUDIO_CONNECT_APP_SETTING", [129] = "AUDIO_CONNECT_MIXER_SETTING", [130] = "AUDIO_CONNECT_SOURCE_SETTING", [131] = "AUDIO_CONNECT_VOLUME_SETTING", [132] = "AUDIO_CONNECT_VERSION_SETTING", [133] = "AUDIO_CONNECT_RECORD_CONTROL", [255] = "AUDIO_CONNECT_UNKNOWN"},
    ["audio_param.handle"] = {[1644546] = "AUDIO_REGISTER_WORD"},
    ["SocketFrameHeader.magic"] = {[1122867] = "FRAME_MAGIC"},
    ["SocketFrameHeader.headerId"] = {[0] = "HEADER_NOTIFY", [1] = "HEADER_REPLY"},
    ["LevelsReply.status"] = {[0] = "AUDIO_NO_ERROR", [-1000] = "AUDIO_NOT_CONNECTED", [-1990] = "AUDIO_NO_MEMORY", [-2000] = "AUDIO_TIMED_OUT", [-2992] = "AUDIO_BAD_SEQUENCE", [-3000] = "AUDIO_BAD_VALUE", [-8000] = "AUDIO_INVALID_OPERATION", [-9998] = "AUDIO_INVALID_STATE"},
    ["ChannelNumberRequest.channels"] = {[1] = "AUDIO_CHANNEL_LF", [2] = "AUDIO_CHANNEL_RF", [4] = "AUDIO_CHANNEL_LS", [8] = "AUDIO_CHANNEL_RS", [16] = "AUDIO_CHANNEL_CF", [32] = "AUDIO_CHANNEL_L1"},
    ["OutputTrack.tag"] = {[0] = "AUDIO_TAG_MAIN", [1] = "AUDIO_TAG_ALTERNATIVE", [2] = "AUDIO_TAG_AUXILIARY", [3] = "AUDIO_TAG_OUTPUT_INVOCATION", [64] = "AUDIO_TAG_INPUT0", [65] = "AUDIO_TAG_UPLINK", [66] = "AUDIO_TAG_INPUT1", [67] = "AUDIO_TAG_INPUT2", [68] = "AUDIO_TAG_INPUT_FRONT_FEEDBACK", [255] = "AUDIO_TAG_UNKNOWN"},
    ["MuteRequest.paths"] = {[0] = "AUDIO_OUT_PATH_NONE", [1] = "AUDIO_OUT_PATH_MAIN", [2] = "AUDIO_OUT_PATH_ALTERNATIVE", [4] = "AUDIO_OUT_PATH_SECOND", [8] = "AUDIO_OUT_PATH_AUXILIARY"},
    ["CalibrationReply.result"] = {[-1] = "None", [0] = "Done", [1] = "Running"},
    ["CreateRequest.codecType"] = {[0] = "CODEC_PCM", [16] = "CODEC_LOAS", [32] = "CODEC_OPUS", [65] = "CODEC_MSBC"},
    ["CreateRequest.channelMap"] = {[1] = "AUDIO_CHANNEL_MAP_1", [2] = "AUDIO_CHANNEL_MAP_2", [3] = "AUDIO_CHANNEL_MAP_3", [4] = "AUDIO_CHANNEL_MAP_4", [5] = "AUDIO_CHANNEL_MAP_5", [6] = "AUDIO_CHANNEL_MAP_6", [253] = "AUDIO_CHANNEL_MAP_MONO_253", [254] = "AUDIO_CHANNEL_MAP_MONO_254"},
    ["CreateRequest.bitDepth"] = {[8] = "AUDIO_BIT_DEPTH_8", [16] = "AUDIO_BIT_DEPTH_16", [17] = "AUDIO_BIT_DEPTH_16_ALT", [24] = "AUDIO_BIT_DEPTH_24", [25] = "AUDIO_BIT_DEPTH_24_ALT", [32] = "AUDIO_BIT_DEPTH_32", [33] = "AUDIO_BIT_DEPTH_32_ALT"},
}
-- Name in filters, name, type, names of values, hexadecimal.
local FIELDS = {
    {"cabinaudio.record.magic", "magic", "Text", "", true},
    {"cabinaudio.record.version", "version", "U8", "", false},
    {"cabinaudio.kind", "kind", "U8", "RecordHeader.kind", false},
    {"cabinaudio.record.flags", "flags", "U16", "", false},
    {"cabinaudio.connection", "connection", "U32", "", false},
    {"cabinaudio.pid", "pid", "I32", "", false},
    {"cabinaudio.type", "type", "U32", "RecordHeader.type", false},
    {"cabinaudio.function", "function", "U32", "RecordHeader.function", false},
    {"cabinaudio.record.detail", "detail", "U64", "", false},
    {"cabinaudio.ring.event", "event", "U32", "RingSummary.event", false},
    {"cabinaudio.ring.count", "count", "U32", "", false},
    {"cabinaudio.ring.bytes", "bytes", "U64", "", false},
    {"cabinaudio.ring.position", "position", "U64", "", false},
    {"cabinaudio.ring.longest_wait", "longestWait", "U64", "", false},
    {"cabinaudio.ring.fill", "fill", "U32", "", false},
    {"cabinaudio.ring.size", "size", "U32", "", false},
    {"cabinaudio.sound.position", "position", "U64", "", false},
    {"cabinaudio.sound.direction", "direction", "U32", "SoundHeader.direction", false},
    {"cabinaudio.lost.count", "count", "U64", "", false},
    {"cabinaudio.cmd", "cmd", "U32", "audio_param.cmd", false},
    {"cabinaudio.type", "type", "U32", "audio_param.type", false},
    {"cabinaudio.handle", "handle", "U32", "audio_param.handle", true},
    {"cabinaudio.payload_length", "length", "U32", "", false},
    {"cabinaudio.timestamp", "timestamp", "U64", "", false},
    {"cabinaudio.client_name", "name", "Text", "", false},
    {"cabinaudio.magic", "magic", "U32", "SocketFrameHeader.magic", true},
    {"cabinaudio.header_id", "headerId", "U32", "SocketFrameHeader.headerId", false},
    {"cabinaudio.event", "event", "U32", "", false},
    {"cabinaudio.send_time_us", "sendTimeUs", "U64", "", false},
    {"cabinaudio.param", "param", "U32", "", false},
    {"cabinaudio.handle", "handle", "U32", "", true},
    {"cabinaudio.function", "function", "U32", "", false},
    {"cabinaudio.status", "status", "I32", "LevelsReply.status", false},
    {"cabinaudio.levels", "levels", "U32", "", false},
    {"cabinaudio.channels", "channels", "U32", "", false},
    {"cabinaudio.value", "value", "I32", "", false},
    {"cabinaudio.delay", "delay", "F32", "", false},
    {"cabinaudio.selector", "selector", "U32", "", false},
    {"cabinaudio.opaque4", "opaque4", "Bytes", "", false},
    {"cabinaudio.opaque4_u32", "opaque4", "U32", "", false},
    {"cabinaudio.tag", "tag", "Text", "", false},
    {"cabinaudio.effect", "effect", "Text", "", false},
    {"cabinaudio.is_on", "isOn", "U8", "", false},
    {"cabinaudio.name", "name", "Text", "", false},
    {"cabinaudio.size", "size", "U32", "", false},
    {"cabinaudio.opaque0", "opaque0", "U32", "", false},
    {"cabinaudio.step", "gain", "U8", "", false},
    {"cabinaudio.gain", "gain", "F32", "", false},
    {"cabinaudio.first", "first", "I32", "", false},
    {"cabinaudio.second", "second", "I32", "", false},
    {"cabinaudio.entry", "entry", "I32", "", false},
    {"cabinaudio.selection", "selection", "U32", "", false},
    {"cabinaudio.first_u32", "first", "U32", "", false},
    {"cabinaudio.second_u16", "second", "U16", "", false},
    {"cabinaudio.tag_number", "tag", "U32", "OutputTrack.tag", false},
    {"cabinaudio.rate", "rate", "U32", "", false},
    {"cabinaudio.bits", "bits", "U32", "", false},
    {"cabinaudio.is_active", "isActive", "U32", "", false},
    {"cabinaudio.count", "count", "I32", "", false},
    {"cabinaudio.name", "slots", "Text", "", false},
    {"cabinaudio.level", "level", "U32", "", false},
    {"cabinaudio.stream_type", "type", "Text", "", false},
    {"cabinaudio.step", "step", "U8", "", false},
    {"cabinaudio.channel", "channel", "U32", "", false},
    {"cabinaudio.step", "volume", "U8", "", false},
    {"cabinaudio.opaque5", "opaque5", "Bytes", "", false},
    {"cabinaudio.paths", "paths", "U32", "", false},
    {"cabinaudio.option", "option", "I32", "", false},
    {"cabinaudio.input", "input", "U32", "", false},
    {"cabinaudio.left", "left", "F32", "", false},
    {"cabinaudio.right", "right", "F32", "", false},
    {"cabinaudio.path", "path", "U32", "", false},
    {"cabinaudio.result", "result", "I32", "CalibrationReply.result", false},
    {"cabinaudio.gains", "gains", "F32", "", false},
    {"cabinaudio.up", "up", "F32", "", false},
    {"cabinaudio.down", "down", "F32", "", false},
    {"cabinaudio.third", "third", "I32", "", false},
    {"cabinaudio.address", "address", "U32", "", true},
    {"cabinaudio.codec_type", "codecType", "U32", "CreateRequest.codecType", false},
    {"cabinaudio.sample_rate", "sampleRate", "U32", "", false},
    {"cabinaudio.codec_param", "codecParam", "U32", "", false},
    {"cabinaudio.channel_map", "channelMap", "U32", "CreateRequest.channelMap", false},
    {"cabinaudio.usage", "usage", "U32", "", false},
    {"cabinaudio.bit_depth", "bitDepth", "U32", "CreateRequest.bitDepth", false},
    {"cabinaudio.stream_param", "streamParam", "I32", "", false},
    {"cabinaudio.ring_size", "ringSize", "U32", "", false},
    {"cabinaudio.per_loop_size", "perLoopSize", "I32", "", false},
    {"cabinaudio.per_loop_time", "perLoopTime", "I32", "", false},
    {"cabinaudio.per_loop_samples", "perLoopSamples", "I32", "", false},
    {"cabinaudio.key", "key", "F32", "", false},
    {"cabinaudio.volume", "volume", "I32", "", false},
}
local RECORDS = {
    RecordHeader = {size = 32, block = false, fields = {
        {name = "magic", type = "Text", at = 0, count = 1, size = 4, hex = true, field = 1},
        {name = "version", type = "U8", at = 4, count = 1, size = 1, field = 2},
        {name = "kind", type = "U8", at = 5, count = 1, size = 1, choices = "RecordHeader.kind", field = 3},
        {name = "flags", type = "U16", at = 6, count = 1, size = 2, field = 4},
        {name = "connection", type = "U32", at = 8, count = 1, size = 4, field = 5},
        {name = "pid", type = "I32", at = 12, count = 1, size = 4, field = 6},
        {name = "type", type = "U32", at = 16, count = 1, size = 4, choices = "RecordHeader.type", field = 7},
        {name = "function", type = "U32", at = 20, count = 1, size = 4, choices = "RecordHeader.function", field = 8},
        {name = "detail", type = "U64", at = 24, count = 1, size = 8, unit = "us", field = 9},
    }},
    RingSummary = {size = 40, block = false, fields = {
        {name = "event", type = "U32", at = 0, count = 1, size = 4, choices = "RingSummary.event", field = 10},
        {name = "count", type = "U32", at = 4, count = 1, size = 4, field = 11},
        {name = "bytes", type = "U64", at = 8, count = 1, size = 8, unit = "bytes", field = 12},
        {name = "position", type = "U64", at = 16, count = 1, size = 8, field = 13},
        {name = "longestWait", type = "U64", at = 24, count = 1, size = 8, unit = "us", field = 14},
        {name = "fill", type = "U32", at = 32, count = 1, size = 4, unit = "bytes", field = 15},
        {name = "size", type = "U32", at = 36, count = 1, size = 4, unit = "bytes", field = 16},
    }},
    SoundHeader = {size = 16, block = false, fields = {
        {name = "position", type = "U64", at = 0, count = 1, size = 8, field = 17},
        {name = "direction", type = "U32", at = 8, count = 1, size = 4, choices = "SoundHeader.direction", field = 18},
        {name = "spare12", type = "Unused", at = 12, count = 1, size = 4},
    }},
    LostRecords = {size = 8, block = false, fields = {
        {name = "count", type = "U64", at = 0, count = 1, size = 8, field = 19},
    }},
    audio_param = {size = 88, block = false, fields = {
        {name = "cmd", type = "U32", at = 0, count = 1, size = 4, choices = "audio_param.cmd", field = 20},
        {name = "type", type = "U32", at = 4, count = 1, size = 4, choices = "audio_param.type", field = 21},
        {name = "handle", type = "U32", at = 8, count = 1, size = 4, choices = "audio_param.handle", hex = true, field = 22},
        {name = "length", type = "U32", at = 12, count = 1, size = 4, unit = "bytes", field = 23},
        {name = "timestamp", type = "U64", at = 16, count = 1, size = 8, unit = "us", field = 24},
        {name = "name", type = "Text", at = 24, count = 1, size = 64, field = 25},
    }},
    SocketFrameHeader = {size = 32, block = false, fields = {
        {name = "magic", type = "U32", at = 0, count = 1, size = 4, choices = "SocketFrameHeader.magic", hex = true, field = 26},
        {name = "headerId", type = "U32", at = 4, count = 1, size = 4, choices = "SocketFrameHeader.headerId", field = 27},
        {name = "event", type = "U32", at = 8, count = 1, size = 4, field = 28},
        {name = "spare12", type = "Unused", at = 12, count = 1, size = 4},
        {name = "sendTimeUs", type = "U64", at = 16, count = 1, size = 8, unit = "us", field = 29},
        {name = "param", type = "U32", at = 24, count = 1, size = 4, field = 30},
        {name = "spare28", type = "Unused", at = 28, count = 1, size = 4},
    }},
    RegistrationReply = {size = 8, block = false, fields = {
        {name = "spare0", type = "Unused", at = 0, count = 1, size = 4},
        {name = "handle", type = "U32", at = 4, count = 1, size = 4, hex = true, field = 31},
    }},
    FunctionRequest = {size = 4, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
    }},
    LevelsReply = {size = 20, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "levels", type = "U32", at = 4, count = 4, size = 4, unit = "millionths", field = 34},
    }},
    ChannelNumberRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "channels", type = "U32", at = 4, count = 1, size = 4, choices = "ChannelNumberRequest.channels", mask = true, field = 35},
        {name = "value", type = "I32", at = 8, count = 1, size = 4, field = 36},
    }},
    StatusReply = {size = 4, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
    }},
    ChannelRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "channels", type = "U32", at = 4, count = 1, size = 4, choices = "ChannelNumberRequest.channels", mask = true, field = 35},
    }},
    DelayReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "delay", type = "F32", at = 4, count = 1, size = 4, unit = "ms", field = 37},
    }},
    NumberRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "value", type = "I32", at = 4, count = 1, size = 4, field = 36},
    }},
    NumberReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "value", type = "I32", at = 4, count = 1, size = 4, field = 36},
    }},
    EqualizerRequest = {size = 568, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "selector", type = "U32", at = 4, count = 1, size = 4, field = 38},
        {name = "opaque4", type = "Bytes", at = 8, count = 1, size = 560, field = 39},
    }},
    EqualizerReply = {size = 568, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "selector", type = "U32", at = 4, count = 1, size = 4, field = 38},
        {name = "opaque4", type = "Bytes", at = 8, count = 1, size = 560, field = 39},
    }},
    NonLinearRequest = {size = 20, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "selector", type = "U32", at = 4, count = 1, size = 4, field = 38},
        {name = "opaque4", type = "U32", at = 8, count = 3, size = 4, field = 40},
    }},
    NonLinearReply = {size = 20, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "selector", type = "U32", at = 4, count = 1, size = 4, field = 38},
        {name = "opaque4", type = "U32", at = 8, count = 3, size = 4, field = 40},
    }},
    HandsfreeEqualizerRequest = {size = 108, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "selector", type = "U32", at = 4, count = 1, size = 4, field = 38},
        {name = "opaque4", type = "Bytes", at = 8, count = 1, size = 100, field = 39},
    }},
    HandsfreeEqualizerReply = {size = 108, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "selector", type = "U32", at = 4, count = 1, size = 4, field = 38},
        {name = "opaque4", type = "Bytes", at = 8, count = 1, size = 100, field = 39},
    }},
    EffectSwitchRequest = {size = 136, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "Text", at = 4, count = 1, size = 64, field = 41},
        {name = "effect", type = "Text", at = 68, count = 1, size = 64, field = 42},
        {name = "isOn", type = "U8", at = 132, count = 1, size = 1, field = 43},
        {name = "spare133", type = "Unused", at = 133, count = 1, size = 3},
    }},
    TwoNamesRequest = {size = 132, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "Text", at = 4, count = 1, size = 64, field = 41},
        {name = "name", type = "Text", at = 68, count = 1, size = 64, field = 44},
    }},
    SwitchReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "isOn", type = "U8", at = 4, count = 1, size = 1, field = 43},
        {name = "spare5", type = "Unused", at = 5, count = 1, size = 3},
    }},
    EffectRequest = {size = 136, block = true, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "Text", at = 4, count = 1, size = 64, field = 41},
        {name = "effect", type = "Text", at = 68, count = 1, size = 64, field = 42},
        {name = "size", type = "U32", at = 132, count = 1, size = 4, unit = "bytes", field = 45},
    }},
    EffectReply = {size = 8, block = true, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "size", type = "U32", at = 4, count = 1, size = 4, unit = "bytes", field = 45},
    }},
    MixerStepsRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "opaque0", type = "U32", at = 4, count = 1, size = 4, field = 46},
        {name = "gain", type = "U8", at = 8, count = 4, size = 1, field = 47},
    }},
    MixerGainsRequest = {size = 24, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "opaque0", type = "U32", at = 4, count = 1, size = 4, field = 46},
        {name = "gain", type = "F32", at = 8, count = 4, size = 4, unit = "dB", field = 48},
    }},
    TwoNumbersRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "first", type = "I32", at = 4, count = 1, size = 4, field = 49},
        {name = "second", type = "I32", at = 8, count = 1, size = 4, field = 50},
    }},
    DacMappingRequest = {size = 28, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "entry", type = "I32", at = 4, count = 6, size = 4, field = 51},
    }},
    DacMappingReply = {size = 28, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "entry", type = "I32", at = 4, count = 6, size = 4, field = 51},
    }},
    I2sMappingRequest = {size = 36, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "entry", type = "I32", at = 4, count = 8, size = 4, field = 51},
    }},
    I2sMappingReply = {size = 36, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "entry", type = "I32", at = 4, count = 8, size = 4, field = 51},
    }},
    NameRequest = {size = 68, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "name", type = "Text", at = 4, count = 1, size = 64, field = 44},
    }},
    PcmInterfaceRequest = {size = 24, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "opaque0", type = "U32", at = 4, count = 5, size = 4, field = 46},
    }},
    NameReply = {size = 68, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "name", type = "Text", at = 4, count = 1, size = 64, field = 44},
    }},
    I2sFormatRequest = {size = 16, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "selection", type = "U32", at = 4, count = 1, size = 4, field = 52},
        {name = "first", type = "U32", at = 8, count = 1, size = 4, field = 53},
        {name = "second", type = "U16", at = 12, count = 1, size = 2, field = 54},
        {name = "spare14", type = "Unused", at = 14, count = 1, size = 2},
    }},
    OutputTrack = {size = 52, block = false, fields = {
        {name = "name", type = "Text", at = 0, count = 1, size = 32, field = 44},
        {name = "tag", type = "U32", at = 32, count = 1, size = 4, choices = "OutputTrack.tag", field = 55},
        {name = "rate", type = "U32", at = 36, count = 1, size = 4, unit = "Hz", field = 56},
        {name = "channels", type = "U32", at = 40, count = 1, size = 4, field = 35},
        {name = "bits", type = "U32", at = 44, count = 1, size = 4, field = 57},
        {name = "isActive", type = "U32", at = 48, count = 1, size = 4, field = 58},
    }},
    OutputTracksReply = {size = 1048, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "count", type = "I32", at = 4, count = 1, size = 4, field = 59},
        {name = "slots", type = "Record", at = 8, count = 20, size = 52, slots = "OutputTrack"},
    }},
    NamesReply = {size = 2056, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "count", type = "I32", at = 4, count = 1, size = 4, field = 59},
        {name = "slots", type = "Text", at = 8, count = 32, size = 64, field = 60},
    }},
    LevelReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "level", type = "U32", at = 4, count = 1, size = 4, unit = "millionths", field = 61},
    }},
    TrackInfo = {size = 200, block = false, fields = {
        {name = "tag", type = "Text", at = 0, count = 1, size = 64, field = 41},
        {name = "name", type = "Text", at = 64, count = 1, size = 64, field = 44},
        {name = "type", type = "Text", at = 128, count = 1, size = 64, field = 62},
        {name = "rate", type = "U32", at = 192, count = 1, size = 4, unit = "Hz", field = 56},
        {name = "channels", type = "U32", at = 196, count = 1, size = 4, field = 35},
    }},
    TracksReply = {size = 6408, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "count", type = "I32", at = 4, count = 1, size = 4, field = 59},
        {name = "slots", type = "Record", at = 8, count = 32, size = 200, slots = "TrackInfo"},
    }},
    StepRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "step", type = "U8", at = 4, count = 1, size = 1, field = 63},
        {name = "spare5", type = "Unused", at = 5, count = 1, size = 3},
    }},
    StepReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "step", type = "U8", at = 4, count = 1, size = 1, field = 63},
        {name = "spare5", type = "Unused", at = 5, count = 1, size = 3},
    }},
    ChannelStepRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "channel", type = "U32", at = 4, count = 1, size = 4, choices = "ChannelNumberRequest.channels", mask = true, field = 64},
        {name = "volume", type = "U8", at = 8, count = 1, size = 1, field = 65},
        {name = "opaque5", type = "Bytes", at = 9, count = 1, size = 3, field = 66},
    }},
    ChannelStepReply = {size = 12, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "channel", type = "U32", at = 4, count = 1, size = 4, choices = "ChannelNumberRequest.channels", mask = true, field = 64},
        {name = "volume", type = "U8", at = 8, count = 1, size = 1, field = 65},
        {name = "opaque5", type = "Bytes", at = 9, count = 1, size = 3, field = 66},
    }},
    MuteRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "paths", type = "U32", at = 4, count = 1, size = 4, choices = "MuteRequest.paths", mask = true, field = 67},
        {name = "option", type = "I32", at = 8, count = 1, size = 4, field = 68},
    }},
    InputGainRequest = {size = 16, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "input", type = "U32", at = 4, count = 1, size = 4, field = 69},
        {name = "left", type = "F32", at = 8, count = 1, size = 4, unit = "dB", field = 70},
        {name = "right", type = "F32", at = 12, count = 1, size = 4, unit = "dB", field = 71},
    }},
    InputGainReply = {size = 12, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "left", type = "F32", at = 4, count = 1, size = 4, unit = "dB", field = 70},
        {name = "right", type = "F32", at = 8, count = 1, size = 4, unit = "dB", field = 71},
    }},
    GainRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "gain", type = "F32", at = 4, count = 1, size = 4, unit = "dB", field = 48},
    }},
    GainReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "gain", type = "F32", at = 4, count = 1, size = 4, unit = "dB", field = 48},
    }},
    TrackStepRequest = {size = 136, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "Text", at = 4, count = 1, size = 64, field = 41},
        {name = "name", type = "Text", at = 68, count = 1, size = 64, field = 44},
        {name = "step", type = "U8", at = 132, count = 1, size = 1, field = 63},
        {name = "spare133", type = "Unused", at = 133, count = 1, size = 3},
    }},
    TrackGainRequest = {size = 136, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "Text", at = 4, count = 1, size = 64, field = 41},
        {name = "name", type = "Text", at = 68, count = 1, size = 64, field = 44},
        {name = "gain", type = "F32", at = 132, count = 1, size = 4, unit = "dB", field = 48},
    }},
    ChannelGainRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "channel", type = "U32", at = 4, count = 1, size = 4, choices = "ChannelNumberRequest.channels", mask = true, field = 64},
        {name = "gain", type = "F32", at = 8, count = 1, size = 4, unit = "dB", field = 48},
    }},
    ChannelGainReply = {size = 12, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "channel", type = "U32", at = 4, count = 1, size = 4, choices = "ChannelNumberRequest.channels", mask = true, field = 64},
        {name = "gain", type = "F32", at = 8, count = 1, size = 4, unit = "dB", field = 48},
    }},
    PathRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "path", type = "U32", at = 4, count = 1, size = 4, choices = "MuteRequest.paths", mask = true, field = 72},
    }},
    NameStepRequest = {size = 72, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "name", type = "Text", at = 4, count = 1, size = 64, field = 44},
        {name = "step", type = "U8", at = 68, count = 1, size = 1, field = 63},
        {name = "spare69", type = "Unused", at = 69, count = 1, size = 3},
    }},
    NameGainRequest = {size = 72, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "name", type = "Text", at = 4, count = 1, size = 64, field = 44},
        {name = "gain", type = "F32", at = 68, count = 1, size = 4, unit = "dB", field = 48},
    }},
    CalibrationReply = {size = 12, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "gain", type = "F32", at = 4, count = 1, size = 4, unit = "dB", field = 48},
        {name = "result", type = "I32", at = 8, count = 1, size = 4, choices = "CalibrationReply.result", field = 73},
    }},
    TrackChannelsRequest = {size = 164, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "Text", at = 4, count = 1, size = 64, field = 41},
        {name = "name", type = "Text", at = 68, count = 1, size = 64, field = 44},
        {name = "gains", type = "F32", at = 132, count = 8, size = 4, unit = "dB", field = 74},
    }},
    RampRequest = {size = 12, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "up", type = "F32", at = 4, count = 1, size = 4, unit = "ms", field = 75},
        {name = "down", type = "F32", at = 8, count = 1, size = 4, unit = "ms", field = 76},
    }},
    RampReply = {size = 12, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "up", type = "F32", at = 4, count = 1, size = 4, unit = "ms", field = 75},
        {name = "down", type = "F32", at = 8, count = 1, size = 4, unit = "ms", field = 76},
    }},
    VersionReply = {size = 32, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "first", type = "I32", at = 4, count = 3, size = 4, field = 49},
        {name = "second", type = "I32", at = 16, count = 3, size = 4, field = 50},
        {name = "third", type = "I32", at = 28, count = 1, size = 4, field = 77},
    }},
    ShareMemoryReply = {size = 12, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "address", type = "U32", at = 4, count = 1, size = 4, hex = true, field = 78},
        {name = "size", type = "U32", at = 8, count = 1, size = 4, unit = "bytes", field = 45},
    }},
    CreateRequest = {size = 40, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "tag", type = "U32", at = 4, count = 1, size = 4, choices = "OutputTrack.tag", field = 55},
        {name = "codecType", type = "U32", at = 8, count = 1, size = 4, choices = "CreateRequest.codecType", field = 79},
        {name = "sampleRate", type = "U32", at = 12, count = 1, size = 4, unit = "Hz", field = 80},
        {name = "codecParam", type = "U32", at = 16, count = 1, size = 4, field = 81},
        {name = "channelMap", type = "U32", at = 20, count = 1, size = 4, choices = "CreateRequest.channelMap", field = 82},
        {name = "usage", type = "U32", at = 24, count = 1, size = 4, field = 83},
        {name = "bitDepth", type = "U32", at = 28, count = 1, size = 4, choices = "CreateRequest.bitDepth", field = 84},
        {name = "streamParam", type = "I32", at = 32, count = 1, size = 4, field = 85},
        {name = "pid", type = "I32", at = 36, count = 1, size = 4, field = 6},
    }},
    CreateReply = {size = 28, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "spare4", type = "Unused", at = 4, count = 1, size = 4},
        {name = "ringSize", type = "U32", at = 8, count = 1, size = 4, unit = "bytes", field = 86},
        {name = "perLoopSize", type = "I32", at = 12, count = 1, size = 4, unit = "bytes", field = 87},
        {name = "perLoopTime", type = "I32", at = 16, count = 1, size = 4, unit = "ms", field = 88},
        {name = "perLoopSamples", type = "I32", at = 20, count = 1, size = 4, unit = "frames", field = 89},
        {name = "spare24", type = "Unused", at = 24, count = 1, size = 4},
    }},
    KeyShiftRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "key", type = "F32", at = 4, count = 1, size = 4, field = 90},
    }},
    VolumeRequest = {size = 8, block = false, fields = {
        {name = "function", type = "U32", at = 0, count = 1, size = 4, field = 32},
        {name = "volume", type = "I32", at = 4, count = 1, size = 4, field = 91},
    }},
    VolumeReply = {size = 8, block = false, fields = {
        {name = "status", type = "I32", at = 0, count = 1, size = 4, choices = "LevelsReply.status", field = 33},
        {name = "volume", type = "I32", at = 4, count = 1, size = 4, field = 91},
    }},
}
-- By connection type and function id.
local OPERATIONS = {
    [0] = {
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [12] = {name = "writeDone", enumerator = "WriteDone", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [19] = {name = "sourceDeactivated", enumerator = "SourceDeactivated", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [20] = {name = "getShareMemory", enumerator = "GetShareMemory", request = "FunctionRequest", reply = "ShareMemoryReply", flag = true},
        [21] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
    },
    [1] = {
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
        [12] = {name = "writeDone", enumerator = "WriteDone", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [20] = {name = "getShareMemory", enumerator = "GetShareMemory", request = "FunctionRequest", reply = "ShareMemoryReply", flag = true},
        [21] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [22] = {name = "setKeyShift", enumerator = "SetKeyShift", request = "KeyShiftRequest", reply = "StatusReply", flag = true},
    },
    [2] = {
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
        [12] = {name = "writeDone", enumerator = "WriteDone", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [20] = {name = "getShareMemory", enumerator = "GetShareMemory", request = "FunctionRequest", reply = "ShareMemoryReply", flag = true},
        [21] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [22] = {name = "setKeyShift", enumerator = "SetKeyShift", request = "KeyShiftRequest", reply = "StatusReply", flag = true},
    },
    [3] = {
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
        [12] = {name = "writeDone", enumerator = "WriteDone", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [20] = {name = "getShareMemory", enumerator = "GetShareMemory", request = "FunctionRequest", reply = "ShareMemoryReply", flag = true},
        [21] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [22] = {name = "setKeyShift", enumerator = "SetKeyShift", request = "KeyShiftRequest", reply = "StatusReply", flag = true},
    },
    [64] = {
        [2] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "setVolume", enumerator = "SetVolume", request = "VolumeRequest", reply = "StatusReply", flag = true},
        [9] = {name = "getVolume", enumerator = "GetVolume", request = "FunctionRequest", reply = "VolumeReply"},
        [10] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
    },
    [65] = {
        [2] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply"},
        [10] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
        [18] = {name = "getShareMemory", enumerator = "GetShareMemory", request = "FunctionRequest", reply = "ShareMemoryReply"},
        [19] = {name = "removeShareMemory", enumerator = "RemoveShareMemory", request = "FunctionRequest", reply = "StatusReply"},
    },
    [66] = {
        [2] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "setVolume", enumerator = "SetVolume", request = "VolumeRequest", reply = "StatusReply", flag = true},
        [9] = {name = "getVolume", enumerator = "GetVolume", request = "FunctionRequest", reply = "VolumeReply"},
        [10] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
    },
    [67] = {
        [2] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "setVolume", enumerator = "SetVolume", request = "VolumeRequest", reply = "StatusReply", flag = true},
        [9] = {name = "getVolume", enumerator = "GetVolume", request = "FunctionRequest", reply = "VolumeReply"},
        [10] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
    },
    [68] = {
        [2] = {name = "create", enumerator = "Create", request = "CreateRequest", reply = "CreateReply", flag = true},
        [6] = {name = "start", enumerator = "Start", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [7] = {name = "stop", enumerator = "Stop", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [8] = {name = "setVolume", enumerator = "SetVolume", request = "VolumeRequest", reply = "StatusReply", flag = true},
        [9] = {name = "getVolume", enumerator = "GetVolume", request = "FunctionRequest", reply = "VolumeReply"},
        [10] = {name = "initCheck", enumerator = "InitCheck", request = "FunctionRequest", reply = "StatusReply"},
    },
    [128] = {
        [11] = {name = "getEqualizerSpectrum", enumerator = "GetSpectrum", request = "FunctionRequest", reply = "LevelsReply", flag = true},
        [22] = {name = "setSpeakerDelay", enumerator = "SetSpeakerDelay", request = "ChannelNumberRequest", reply = "StatusReply", flag = true, unit = "us"},
        [23] = {name = "getSpeakerDelay", enumerator = "GetSpeakerDelay", request = "ChannelRequest", reply = "DelayReply", flag = true},
        [24] = {name = "setQualityOfAEC", enumerator = "SetEchoQuality", request = "NumberRequest", reply = "StatusReply", flag = true},
        [25] = {name = "getQualityOfAEC", enumerator = "GetEchoQuality", request = "FunctionRequest", reply = "NumberReply", flag = true},
        [29] = {name = "enableByPassMode", enumerator = "EnableBypass", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [30] = {name = "disableByPassMode", enumerator = "DisableBypass", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [34] = {name = "getOutPutDataEnergy", enumerator = "GetOutputEnergy", request = "FunctionRequest", reply = "LevelsReply", flag = true},
        [35] = {name = "setEqualizer", enumerator = "SetEqualizer", request = "EqualizerRequest", reply = "StatusReply", flag = true},
        [36] = {name = "getEqualizer", enumerator = "GetEqualizer", request = "NumberRequest", reply = "EqualizerReply", flag = true},
        [37] = {name = "setDownlinkDelayEstimation", enumerator = "SetDelayEstimation", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [38] = {name = "getDownlinkDelayEstimation", enumerator = "GetDelayEstimation", request = "FunctionRequest", reply = "NumberReply", flag = true, unit = "ms"},
        [40] = {name = "setDuplexOfAEC", enumerator = "SetDuplex", request = "NumberRequest", reply = "StatusReply"},
        [41] = {name = "getDuplexOfAEC", enumerator = "GetDuplex", request = "FunctionRequest", reply = "NumberReply"},
        [42] = {name = "setNRAttenuation", enumerator = "SetNoiseReduction", request = "NumberRequest", reply = "StatusReply"},
        [43] = {name = "getNRAttenuation", enumerator = "GetNoiseReduction", request = "FunctionRequest", reply = "NumberReply"},
        [44] = {name = "setNLPConfig", enumerator = "SetNonLinear", request = "NonLinearRequest", reply = "StatusReply", flag = true},
        [45] = {name = "getNLPConfig", enumerator = "GetNonLinear", request = "NumberRequest", reply = "NonLinearReply", flag = true},
        [46] = {name = "setHandsfreeEQ", enumerator = "SetHandsfreeEqualizer", request = "HandsfreeEqualizerRequest", reply = "StatusReply", flag = true},
        [47] = {name = "getHandsfreeEQ", enumerator = "GetHandsfreeEqualizer", request = "NumberRequest", reply = "HandsfreeEqualizerReply", flag = true},
        [48] = {name = "setDACGainControl", enumerator = "SetDacGain", request = "NumberRequest", reply = "StatusReply", flag = true},
        [50] = {name = "setReverbMode", enumerator = "SetReverbMode", request = "NumberRequest", reply = "StatusReply", flag = true},
        [4096] = {name = "setEffectEnabled", enumerator = "SetEffectEnabled", request = "EffectSwitchRequest", reply = "StatusReply", flag = true},
        [4097] = {name = "getEffectEnabled", enumerator = "GetEffectEnabled", request = "TwoNamesRequest", reply = "SwitchReply", flag = true},
        [4098] = {name = "setEffectParameter", enumerator = "SetEffectParameter", request = "EffectRequest", reply = "StatusReply", flag = true},
        [4099] = {name = "getEffectParameter", enumerator = "GetEffectParameter", request = "EffectRequest", reply = "EffectReply", flag = true},
    },
    [129] = {
        [2] = {name = "setUpMixMode", enumerator = "SetUpMixMode", request = "NumberRequest", reply = "StatusReply", flag = true},
        [3] = {name = "mixExtGps", enumerator = "MixExtGps", request = "NumberRequest", reply = "StatusReply", flag = true},
        [4] = {name = "setGpsMixerGain", enumerator = "SetGpsGain", request = "MixerStepsRequest", reply = "StatusReply", flag = true},
        [7] = {name = "setAlternativeAudioMixerGain", enumerator = "SetAlternativeGain", request = "MixerStepsRequest", reply = "StatusReply", flag = true},
        [8] = {name = "setGpsMixerGain", enumerator = "SetGpsMatrix", request = "MixerGainsRequest", reply = "StatusReply", flag = true},
        [10] = {name = "setAlternativeAudioMixerGain", enumerator = "SetAlternativeMatrix", request = "MixerGainsRequest", reply = "StatusReply", flag = true},
        [11] = {name = "setHwAlternativeAudioMixerWithMain", enumerator = "MixAlternativeInHardware", request = "TwoNumbersRequest", reply = "StatusReply", flag = true},
        [12] = {name = "getUpMixMode", enumerator = "GetUpMixMode", request = "FunctionRequest", reply = "NumberReply", flag = true},
    },
    [130] = {
        [2] = {name = "selectSource", enumerator = "SelectSource", request = "TwoNumbersRequest", reply = "StatusReply", flag = true},
        [3] = {name = "setFrontAudioState", enumerator = "SetFrontState", request = "NumberRequest", reply = "StatusReply", flag = true},
        [4] = {name = "setRearAudioState", enumerator = "SetRearState", request = "NumberRequest", reply = "StatusReply", flag = true},
        [5] = {name = "setAdcMuxPin", enumerator = "SetAdcMuxPin", request = "TwoNumbersRequest", reply = "StatusReply", flag = true},
        [6] = {name = "getAdcMuxPin", enumerator = "GetAdcMuxPin", request = "NumberRequest", reply = "NumberReply", flag = true},
        [8] = {name = "setDacOutPutMapping", enumerator = "SetDacMapping", request = "DacMappingRequest", reply = "StatusReply", flag = true},
        [9] = {name = "getDacOutPutMapping", enumerator = "GetDacMapping", request = "FunctionRequest", reply = "DacMappingReply", flag = true},
        [10] = {name = "setI2sOutPutMapping", enumerator = "SetI2sMapping", request = "I2sMappingRequest", reply = "StatusReply", flag = true},
        [11] = {name = "getI2sOutPutMapping", enumerator = "GetI2sMapping", request = "FunctionRequest", reply = "I2sMappingReply", flag = true},
        [12] = {name = "setAdcLeftRightSwitch", enumerator = "SetAdcLeftRightSwitch", request = "NumberRequest", reply = "StatusReply"},
        [14] = {name = "setOutPutSource", enumerator = "SetOutputSource", request = "TwoNamesRequest", reply = "StatusReply", flag = true},
        [15] = {name = "setInputDestination", enumerator = "SetInputDestination", request = "TwoNamesRequest", reply = "StatusReply", flag = true},
        [16] = {name = "dumpOutPutSourceList", enumerator = "DumpOutputSources", request = "NameRequest", reply = "StatusReply", flag = true},
        [17] = {name = "dumpInputDestinationList", enumerator = "DumpInputDestinations", request = "NameRequest", reply = "StatusReply", flag = true},
        [18] = {name = "setMainAudioSpeakerTestPattern", enumerator = "SetSpeakerPattern", request = "ChannelNumberRequest", reply = "StatusReply"},
        [19] = {name = "setMainAudioSpeakerTestPattern", enumerator = "SetSpeakerTone", request = "ChannelNumberRequest", reply = "StatusReply", unit = "Hz"},
        [20] = {name = "configurePcmHwInterface", enumerator = "ConfigurePcmInterface", request = "PcmInterfaceRequest", reply = "StatusReply", flag = true},
        [21] = {name = "enablePcmHwInterface", enumerator = "EnablePcmInterface", request = "NumberRequest", reply = "StatusReply"},
        [22] = {name = "setSpeakerOutPut", enumerator = "SetSpeakerOutput", request = "ChannelRequest", reply = "StatusReply"},
        [23] = {name = "getSpeakerOutPut", enumerator = "GetSpeakerOutput", request = "FunctionRequest", reply = "NumberReply"},
        [24] = {name = "getOutPutSource", enumerator = "GetOutputSource", request = "NameRequest", reply = "NameReply", flag = true},
        [25] = {name = "getInputDestination", enumerator = "GetInputDestination", request = "NameRequest", reply = "NameReply", flag = true},
        [26] = {name = "getActivedSourceNumber", enumerator = "GetSourceNumber", request = "NameRequest", reply = "NumberReply", flag = true},
        [27] = {name = "setHandsfreeDelay", enumerator = "SetHandsfreeDelay", request = "NumberRequest", reply = "StatusReply"},
        [28] = {name = "setSamplerateCapability", enumerator = "SetSampleRateCapability", request = "NumberRequest", reply = "StatusReply"},
        [30] = {name = "setI2sFormatAndConfig", enumerator = "SetI2sFormat", request = "I2sFormatRequest", reply = "StatusReply", flag = true},
        [32] = {name = "getOutputTrackInfo", enumerator = "GetOutputTrackInfo", request = "NumberRequest", reply = "OutputTracksReply", flag = true},
        [34] = {name = "setHwAutoRampMode", enumerator = "SetAutoRamp", request = "NumberRequest", reply = "StatusReply"},
        [35] = {name = "getTrackStreamType", enumerator = "GetTrackStreamType", request = "TwoNamesRequest", reply = "NameReply", flag = true},
        [36] = {name = "getActiveTracksName", enumerator = "GetActiveTrackNames", request = "NameRequest", reply = "NamesReply", flag = true},
        [37] = {name = "getHWSignalEnergy", enumerator = "GetSignalEnergy", request = "NumberRequest", reply = "LevelReply", flag = true},
        [38] = {name = "getActiveTracksInfo", enumerator = "GetActiveTracks", request = "FunctionRequest", reply = "TracksReply", flag = true},
    },
    [131] = {
        [2] = {name = "setMainAudioDunkingMode", enumerator = "SetDuckingMode", request = "NumberRequest", reply = "StatusReply", flag = true},
        [3] = {name = "setMainAudioDunkingTargetGain", enumerator = "SetDuckingTargetStep", request = "StepRequest", reply = "StatusReply", flag = true},
        [4] = {name = "setMasterVolume", enumerator = "SetMasterStep", request = "StepRequest", reply = "StatusReply", flag = true},
        [5] = {name = "getMasterVolume", enumerator = "GetMasterStep", request = "FunctionRequest", reply = "StepReply", flag = true},
        [6] = {name = "setChannelGain", enumerator = "SetChannelStep", request = "ChannelStepRequest", reply = "StatusReply", flag = true},
        [7] = {name = "getChannelGain", enumerator = "GetChannelStep", request = "ChannelRequest", reply = "ChannelStepReply", flag = true},
        [8] = {name = "mute", enumerator = "Mute", request = "MuteRequest", reply = "StatusReply", flag = true},
        [9] = {name = "demute", enumerator = "Demute", request = "MuteRequest", reply = "StatusReply", flag = true},
        [10] = {name = "setAdcPgaGain", enumerator = "SetAdcPgaGain", request = "InputGainRequest", reply = "StatusReply", flag = true},
        [11] = {name = "getAdcPgaGain", enumerator = "GetAdcPgaGain", request = "NumberRequest", reply = "InputGainReply", flag = true},
        [12] = {name = "setAdcOpGain", enumerator = "SetAdcOpGain", request = "InputGainRequest", reply = "StatusReply", flag = true},
        [13] = {name = "getAdcOpGain", enumerator = "GetAdcOpGain", request = "NumberRequest", reply = "InputGainReply", flag = true},
        [14] = {name = "setUpLinkGain", enumerator = "SetUpLinkGain", request = "GainRequest", reply = "StatusReply", flag = true},
        [15] = {name = "getUpLinkGain", enumerator = "GetUpLinkGain", request = "FunctionRequest", reply = "GainReply", flag = true},
        [16] = {name = "setSecondAudioVolume", enumerator = "SetSecondStep", request = "StepRequest", reply = "StatusReply", flag = true},
        [17] = {name = "getSecondAudioVolume", enumerator = "GetSecondStep", request = "FunctionRequest", reply = "StepReply", flag = true},
        [18] = {name = "setTrackVolume", enumerator = "SetTrackStep", request = "TrackStepRequest", reply = "StatusReply", flag = true},
        [19] = {name = "getTrackVolume", enumerator = "GetTrackStep", request = "TwoNamesRequest", reply = "StepReply", flag = true},
        [20] = {name = "setMasterVolume", enumerator = "SetMasterGain", request = "GainRequest", reply = "StatusReply", flag = true},
        [21] = {name = "getMasterVolume", enumerator = "GetMasterGain", request = "FunctionRequest", reply = "GainReply", flag = true},
        [22] = {name = "setSecondAudioVolume", enumerator = "SetSecondGain", request = "GainRequest", reply = "StatusReply", flag = true},
        [23] = {name = "getSecondAudioVolume", enumerator = "GetSecondGain", request = "FunctionRequest", reply = "GainReply", flag = true},
        [24] = {name = "setTrackVolume", enumerator = "SetTrackGain", request = "TrackGainRequest", reply = "StatusReply", flag = true},
        [25] = {name = "getTrackVolume", enumerator = "GetTrackGain", request = "TwoNamesRequest", reply = "GainReply", flag = true},
        [26] = {name = "setMainAudioDunkingTargetGain", enumerator = "SetDuckingTargetGain", request = "GainRequest", reply = "StatusReply", flag = true},
        [27] = {name = "setChannelGain", enumerator = "SetChannelGain", request = "ChannelGainRequest", reply = "StatusReply", flag = true},
        [28] = {name = "getChannelGain", enumerator = "GetChannelGain", request = "ChannelRequest", reply = "ChannelGainReply", flag = true},
        [29] = {name = "setAlterAudioVolume", enumerator = "SetAlternativeStep", request = "StepRequest", reply = "StatusReply", flag = true},
        [30] = {name = "getAlterAudioVolume", enumerator = "GetAlternativeStep", request = "FunctionRequest", reply = "StepReply", flag = true},
        [31] = {name = "setAlterAudioVolume", enumerator = "SetAlternativeGain", request = "GainRequest", reply = "StatusReply", flag = true},
        [32] = {name = "getAlterAudioVolume", enumerator = "GetAlternativeGain", request = "FunctionRequest", reply = "GainReply", flag = true},
        [33] = {name = "getMuteState", enumerator = "GetMuteState", request = "PathRequest", reply = "SwitchReply", flag = true},
        [34] = {name = "setVolumeByStreamType", enumerator = "SetStreamTypeStep", request = "NameStepRequest", reply = "StatusReply", flag = true},
        [35] = {name = "getVolumeByStreamType", enumerator = "GetStreamTypeStep", request = "NameRequest", reply = "StepReply", flag = true},
        [36] = {name = "getStreamTypeList", enumerator = "GetStreamTypes", request = "FunctionRequest", reply = "NamesReply", flag = true},
        [37] = {name = "duck", enumerator = "Duck", request = "NumberRequest", reply = "StatusReply", flag = true, unit = "%"},
        [38] = {name = "unduck", enumerator = "Unduck", request = "FunctionRequest", reply = "StatusReply", flag = true},
        [39] = {name = "setGainByStreamType", enumerator = "SetStreamTypeGain", request = "NameGainRequest", reply = "StatusReply", flag = true},
        [40] = {name = "getGainByStreamType", enumerator = "GetStreamTypeGain", request = "NameRequest", reply = "GainReply", flag = true},
        [41] = {name = "startMicGainCalibration", enumerator = "StartMicCalibration", request = "FunctionRequest", reply = "StatusReply"},
        [42] = {name = "getMicGainCalibrationResult", enumerator = "GetMicCalibration", request = "FunctionRequest", reply = "CalibrationReply", flag = true},
        [43] = {name = "setTrackChannelGain", enumerator = "SetTrackChannelGains", request = "TrackChannelsRequest", reply = "StatusReply", flag = true},
        [44] = {name = "setMasterVolumeRampDuration", enumerator = "SetMasterRamp", request = "RampRequest", reply = "StatusReply", flag = true},
        [45] = {name = "getMasterVolumeRampDuration", enumerator = "GetMasterRamp", request = "FunctionRequest", reply = "RampReply", flag = true},
    },
    [132] = {
        [0] = {name = "getServerVersions", enumerator = "GetServerVersions", request = "FunctionRequest", reply = "VersionReply", flag = true},
    },
    [133] = {
        [0] = {name = "set", enumerator = "Set", request = "EffectRequest", reply = "StatusReply", flag = true},
        [1] = {name = "get", enumerator = "Get", request = "EffectRequest", reply = "EffectReply", flag = true},
    },
}
-- By connection type and number.
local EVENTS = {
    [0] = {
        [3] = "SourceActivated",
        [4] = "SourceDeactivated",
        [5] = "Finished",
        [255] = "Removed",
    },
    [1] = {
        [3] = "RingReady",
        [4] = "Finished",
        [255] = "Removed",
    },
    [2] = {
        [3] = "RingReady",
        [4] = "Finished",
        [255] = "Removed",
    },
    [3] = {
        [3] = "RingReady",
        [4] = "Finished",
        [255] = "Removed",
    },
    [64] = {
        [2] = "RingState",
        [255] = "Removed",
    },
    [65] = {
        [2] = "RingState",
        [255] = "Removed",
    },
    [66] = {
        [2] = "RingState",
        [255] = "Removed",
    },
    [67] = {
        [2] = "RingState",
        [255] = "Removed",
    },
    [68] = {
        [2] = "RingState",
        [255] = "Removed",
    },
}
-- end catalogue

if select(2, pcall(Dissector.get, "cabinaudio")) then
    error("another copy of cabinaudio.lua is loaded already; tshark -G plugins tells where it is")
end

local proto = Proto("cabinaudio", "cabinaudio")
proto.prefs.slow = Pref.uint("Slow reply (ms)", 100,
                             "Replies that take longer get an expert note")

local UNKNOWN = 0xffffffff  -- type before the registration; function where none applies
local FRAME_MAGIC = 0x00112233
local REGISTER, CALL, CALL_WITH_FLAG = 196, 195, 198
local NOTIFICATION, REPLY = 0, 1  -- header ids
local TO_CLIENT = 1  -- direction of sound
local NAMELESS = "unkn"  -- name of a client without one
local LONGEST_SUMMARY = 160  -- bytes of the arguments of a request in the Info column

-- ---- Fields -------------------------------------------------------------------------------------

local fields = {}  -- one for each entry of FIELDS, in its order
-- Fields that no record has.
local own = {
    data = ProtoField.bytes("cabinaudio.data", "data"),
    block = ProtoField.bytes("cabinaudio.block", "block"),
    surplus = ProtoField.bytes("cabinaudio.surplus", "surplus bytes"),
    cut = ProtoField.bytes("cabinaudio.cut", "incomplete field"),
    unused = ProtoField.bytes("cabinaudio.unused", "unused"),
    undecoded = ProtoField.bytes("cabinaudio.undecoded", "undecoded bytes"),
    client = ProtoField.string("cabinaudio.client", "Client"),
    operation = ProtoField.string("cabinaudio.operation", "Operation"),
    functionName = ProtoField.string("cabinaudio.function_name", "Function"),
    notification = ProtoField.string("cabinaudio.notification", "Notification"),
    requestIn = ProtoField.framenum("cabinaudio.request_in", "Request in", base.NONE,
                                    frametype.REQUEST),
    responseIn = ProtoField.framenum("cabinaudio.response_in", "Response in", base.NONE,
                                     frametype.RESPONSE),
    time = ProtoField.relative_time("cabinaudio.time", "Response time"),
}

-- Whether only one value has a name: the others are not unknown then.
local function isSingle(values)
    return values ~= nil and next(values, next(values)) == nil
end

local function makeField(entry)
    local name, label, kind, choices, hex = entry[1], entry[2], entry[3], entry[4], entry[5]
    if kind == "Text" then return ProtoField.string(name, label) end
    if kind == "Bytes" then return ProtoField.bytes(name, label) end
    if kind == "F32" then return ProtoField.float(name, label) end
    local makers = {U8 = ProtoField.uint8, U16 = ProtoField.uint16, U32 = ProtoField.uint32,
                    U64 = ProtoField.uint64, I32 = ProtoField.int32}
    local values = CHOICES[choices]
    if isSingle(values) then values = nil end
    return makers[kind](name, label, hex and base.HEX or base.DEC, values)
end

local function registerFields()
    local all = {}
    for index, entry in ipairs(FIELDS) do
        fields[index] = makeField(entry)
        all[index] = fields[index]
    end
    for _, field in pairs(own) do all[#all + 1] = field end
    proto.fields = all
end
registerFields()

-- ---- Expert notes -------------------------------------------------------------------------------

local experts = {}

local function registerExperts()
    local group, severity = expert.group, expert.severity
    local function add(name, text, itsGroup, itsSeverity)
        experts[name] = ProtoExpert.new("cabinaudio.expert." .. name, text, itsGroup, itsSeverity)
    end
    add("status", "Refused with a status", group.RESPONSE_CODE, severity.WARN)
    add("refused", "Registration refused", group.RESPONSE_CODE, severity.ERROR)
    add("function", "Unknown function", group.UNDECODED, severity.WARN)
    add("event", "Unknown notification", group.UNDECODED, severity.WARN)
    add("command", "Unknown command word", group.MALFORMED, severity.ERROR)
    add("short_request", "Short request", group.MALFORMED, severity.ERROR)
    add("short_reply", "Short reply: missing fields are read as 0", group.PROTOCOL, severity.WARN)
    add("surplus", "Surplus bytes", group.MALFORMED, severity.ERROR)
    add("block", "Block of another size", group.PROTOCOL, severity.WARN)
    add("magic", "Wrong magic", group.MALFORMED, severity.ERROR)
    add("header_id", "Unknown header id", group.MALFORMED, severity.ERROR)
    add("length", "Message of wrong length", group.MALFORMED, severity.ERROR)
    add("handle", "Wrong handle", group.PROTOCOL, severity.ERROR)
    add("type", "Type of another connection", group.PROTOCOL, severity.ERROR)
    add("flag", "Command word of other requests", group.PROTOCOL, severity.NOTE)
    add("unused", "Unused bytes are not 0", group.PROTOCOL, severity.NOTE)
    add("count", "Count beyond the slots", group.MALFORMED, severity.ERROR)
    add("unasked", "Reply without a request", group.SEQUENCE, severity.WARN)
    add("unanswered", "Request without a reply", group.SEQUENCE, severity.WARN)
    add("slow", "Slow reply", group.SEQUENCE, severity.NOTE)
    add("lost", "Records were lost", group.SEQUENCE, severity.WARN)
    add("record", "Not a record of a capture", group.MALFORMED, severity.ERROR)
    local all = {}
    for _, one in pairs(experts) do all[#all + 1] = one end
    proto.experts = all
end
registerExperts()

local function note(item, name, text)
    item:add_proto_expert_info(experts[name], text)
end

-- ---- State between packets ----------------------------------------------------------------------

-- pending    the last request of a connection, until it is answered
-- handles    handle of a connection, from its registration
-- clients    name of a connection's client
-- requests   by number of the reply's frame: the request that it answers
-- responses  by number of the request's frame: the frame of the reply
-- overtaken  by number of a frame: the request before it, which has no reply
local state

function proto.init()
    state = {pending = {}, handles = {}, clients = {}, requests = {}, responses = {},
             overtaken = {}}
end

-- ---- Values -------------------------------------------------------------------------------------

local function textOf(range)
    local length = 0
    while length < range:len() and range(length, 1):uint() ~= 0 do length = length + 1 end
    return length > 0 and range(0, length):string(ENC_UTF_8) or "", length
end

local function isZero(range)
    return range:bytes():tohex():find("[^0]") == nil
end

local function maskText(choices, value)
    local names, rest = {}, value
    for bit = 0, 31 do
        local one = 2 ^ bit
        if value % (2 * one) >= one and choices[one] then
            names[#names + 1] = choices[one]
            rest = rest - one
        end
    end
    if rest > 0 then names[#names + 1] = string.format("0x%x", rest) end
    return #names > 0 and table.concat(names, " | ") or choices[0] or "none"
end

-- Number of an element, and its text with name and unit.
local function numberOf(leaf, range, unit)
    local value, text
    if leaf.type == "F32" then
        value = range:le_float()
        text = string.format("%.6g", value)
    elseif leaf.type == "I32" then
        value = range:le_int()
    elseif leaf.type == "U64" then
        value = range:le_uint64()
    else
        value = range:le_uint()
    end
    text = text or leaf.hex and string.format("0x%x", value) or tostring(value)
    local choices = leaf.choices and CHOICES[leaf.choices]
    if leaf.mask then
        text = maskText(choices, value)
    elseif choices and choices[value] then
        text = choices[value]
    end
    return value, unit and text .. " " .. unit or text
end

-- ---- Records ------------------------------------------------------------------------------------

-- A record that is being shown.
--   tree   item of the record
--   bytes  of the record and everything behind it
--   unit   of the fields named "value"
--   values numbers by name of field
--   words  of the summary

local function addUnused(shown, range)
    local item = shown.tree:add(own.unused, range)
    if not isZero(range) then note(item, "unused", "Unused bytes are not 0") end
end

local function addText(shown, leaf, range, name)
    local text, length = textOf(range)
    local item = shown.tree:add(fields[leaf.field], range, text)
    if name then item:set_text(name .. ": " .. text) end
    local behind = length < range:len() and range(length) or nil
    if behind and not isZero(behind) then
        shown.tree:add(own.unused, behind)
        note(item, "unused", "Bytes behind the end of a text")
    end
    return text
end

local function addNumber(shown, leaf, range, name)
    local unit = leaf.unit or (leaf.name == "value" and shown.unit or nil)
    local value, text = numberOf(leaf, range, unit)
    local item = shown.tree:add_le(fields[leaf.field], range)
    local choices = leaf.choices and CHOICES[leaf.choices]
    if leaf.mask or isSingle(choices) and choices[value] then
        item:append_text(" (" .. text .. ")")
    elseif unit then
        item:append_text(" " .. unit)
    end
    if name then item:set_text(name .. ": " .. text) end
    return value, text
end

local function addElement(shown, leaf, range, name)
    if leaf.type == "Text" then
        local text = addText(shown, leaf, range, name)
        return text, '"' .. text .. '"'
    elseif leaf.type == "Bytes" then
        shown.tree:add(fields[leaf.field], range)
        return nil, range:len() .. " bytes"
    end
    return addNumber(shown, leaf, range, name)
end

local function addWords(shown, leaf, texts)
    if #texts == 0 then return end
    local name = leaf.name == "value" and "" or leaf.name .. " "
    shown.words[#shown.words + 1] = name .. table.concat(texts, " ")
end

local showRecord

-- A slot of a list.
local function addSlot(shown, leaf, range, index)
    if leaf.type == "Text" then
        addText(shown, leaf, range, string.format("%s[%d]", leaf.name, index))
        return
    end
    local tree = shown.tree:add(range, string.format("%s[%d]", leaf.name, index))
    showRecord({tree = tree, bytes = range, values = {}, words = {}}, leaf.slots)
end

-- The used slots of a list; the rest is unused.
local function addList(shown, leaf, range)
    local used = shown.values.count or 0
    if used < 0 or used > leaf.count then
        note(shown.tree, "count", string.format("%d of %d slots are used", used, leaf.count))
        used = math.max(0, math.min(used, leaf.count))
    end
    for index = 0, used - 1 do addSlot(shown, leaf, range(index * leaf.size, leaf.size), index) end
    if used < leaf.count then addUnused(shown, range(used * leaf.size)) end
end

local function addArray(shown, leaf, range)
    local texts = {}
    for index = 0, leaf.count - 1 do
        local element = range(index * leaf.size, leaf.size)
        addElement(shown, leaf, element, string.format("%s[%d]", leaf.name, index))
        local _, text = numberOf(leaf, element)
        texts[#texts + 1] = text
    end
    texts[#texts + 1] = leaf.unit
    addWords(shown, leaf, texts)
end

local function addField(shown, leaf, range)
    if leaf.type == "Unused" then
        addUnused(shown, range)
    elseif leaf.type == "Record" or (leaf.type == "Text" and leaf.count > 1) then
        addList(shown, leaf, range)
    elseif leaf.count > 1 then
        addArray(shown, leaf, range)
    else
        local value, text = addElement(shown, leaf, range)
        shown.values[leaf.name] = value
        addWords(shown, leaf, {text})
    end
end

-- Shows the fields of a record; of an incomplete one, as many as there are. Returns the number of
-- bytes shown and whether the record is complete.
function showRecord(shown, name)
    local record = RECORDS[name]
    local length = shown.bytes and shown.bytes:len() or 0
    for _, leaf in ipairs(record.fields) do
        local size = leaf.count * leaf.size
        if leaf.at + size <= length then
            addField(shown, leaf, shown.bytes(leaf.at, size))
        elseif leaf.at < length then
            shown.tree:add(own.cut, shown.bytes(leaf.at)):append_text(" (" .. leaf.name .. ")")
        end
    end
    return math.min(record.size, length), length >= record.size
end

-- The range behind the first bytes of another; nil when there is nothing.
local function behind(range, bytes)
    if range and range:len() > bytes then return range(bytes) end
    return nil
end

local function addSurplus(tree, range)
    if range then
        note(tree:add(own.surplus, range), "surplus", range:len() .. " surplus bytes")
    end
end

-- ---- The packet that is being shown -------------------------------------------------------------

-- pinfo, tree, header (values of the RecordHeader), connection, type

local function generated(packet, field, value)
    packet.tree:add(field, value):set_generated()
end

local function info(packet, text)
    packet.pinfo.cols.info = text
end

local function typeName(type)
    return CHOICES["audio_param.type"][type] or string.format("type %d", type)
end

-- Name or connection type of the client, and the number of its connection.
local function clientOf(packet)
    local name = state.clients[packet.connection]
    if packet.connection == 0 then return "" end
    if not name and packet.type ~= UNKNOWN then
        name = typeName(packet.type):gsub("^AUDIO_CONNECT_", ""):lower()
    end
    return (name or "") .. "#" .. packet.connection
end

local function operationOf(packet, id)
    local operations = OPERATIONS[packet.type]
    return operations and operations[id]
end

local function addOperation(packet, operation)
    if operation then
        generated(packet, own.operation, operation.name)
        generated(packet, own.functionName, operation.enumerator)
    end
end

local function summaryOf(shown)
    local text = table.concat(shown.words, ", ")
    if #text > LONGEST_SUMMARY then text = text:sub(1, LONGEST_SUMMARY) .. "..." end
    return text
end

-- ---- Messages of clients ------------------------------------------------------------------------

-- The block of a request for an effect, or of the reply: everything behind the record.
local function addBlock(shown, range, size)
    local length = range and range:len() or 0
    if range then shown.tree:add(own.block, range) end
    if length ~= size then
        note(shown.tree, "block", string.format("Block of %d bytes, %d expected", length, size))
    end
    shown.words[#shown.words + 1] = length .. " bytes"
end

-- Notes a request that is without a reply when its client goes on.
local function noteUnanswered(packet)
    local number = packet.pinfo.number
    if not packet.pinfo.visited then
        state.overtaken[number] = state.pending[packet.connection]
        state.pending[packet.connection] = nil
    end
    local request = state.overtaken[number]
    if request then
        note(packet.tree, "unanswered", string.format("The request in frame %d has no reply",
                                                      request.number))
    end
end

-- Keeps the request until its reply comes.
local function await(packet, request)
    local number = packet.pinfo.number
    noteUnanswered(packet)
    if not packet.pinfo.visited then
        request.number, request.time = number, packet.pinfo.abs_ts
        state.pending[packet.connection] = request
    end
    if state.responses[number] then
        generated(packet, own.responseIn, state.responses[number])
    end
end

local function showRegistration(packet, header, rest)
    addSurplus(packet.tree, rest)
    local name = header.values.name
    local isNamed = name ~= "" and name ~= NAMELESS
    if not packet.pinfo.visited and isNamed then state.clients[packet.connection] = name end
    local text = string.format("register %sas %s", isNamed and '"' .. name .. '" ' or "",
                               typeName(header.values.type))
    info(packet, text)
    await(packet, {text = text, registers = true})
end

-- Payload of an operation of the catalogue.
local function showArguments(packet, operation, payload)
    local tree = packet.tree:add(payload, string.format("%s of %s", operation.request,
                                                        operation.name))
    local shown = {tree = tree, bytes = payload, unit = operation.unit, values = {}, words = {}}
    local bytes, isComplete = showRecord(shown, operation.request)
    table.remove(shown.words, 1)  -- the function
    if not isComplete then
        note(tree, "short_request", string.format("%d bytes, %s has %d", payload:len(),
                                                  operation.request,
                                                  RECORDS[operation.request].size))
    elseif RECORDS[operation.request].block then
        table.remove(shown.words)  -- the size
        addBlock(shown, behind(payload, bytes), shown.values.size)
    else
        addSurplus(tree, behind(payload, bytes))
    end
    return string.format("%s(%s)", operation.name, summaryOf(shown)), shown.values.size
end

local function showUnknownFunction(packet, payload, id)
    local tree = packet.tree:add(payload, "FunctionRequest of an unknown function")
    showRecord({tree = tree, bytes = payload, values = {}, words = {}}, "FunctionRequest")
    if payload:len() > 4 then tree:add(own.undecoded, payload(4)) end
    note(tree, "function", string.format("Function %s is unknown on %s", id,
                                         typeName(packet.type)))
    return string.format("function %s", id)
end

local function checkRequest(packet, header, payload, operation)
    local values = header.values
    if values.length ~= (payload and payload:len() or 0) then
        note(header.tree, "length", string.format("%d bytes of payload, the header says %d",
                                                  payload and payload:len() or 0, values.length))
    end
    local handle = state.handles[packet.connection]
    if handle and handle ~= values.handle then
        note(header.tree, "handle", string.format("Handle 0x%x, the registration gave 0x%x",
                                                  values.handle, handle))
    end
    if values.type ~= packet.type then
        note(header.tree, "type", "This connection has " .. typeName(packet.type))
    end
    if operation and operation.flag ~= nil and (values.cmd == CALL_WITH_FLAG) ~= operation.flag then
        note(header.tree, "flag", operation.name .. " is sent under the other command word")
    end
end

local function showRequest(packet, header, payload)
    local id = payload and payload:len() >= 4 and payload(0, 4):le_uint() or nil
    local operation = id and operationOf(packet, id)
    checkRequest(packet, header, payload, operation)
    local text, size
    if operation then
        text, size = showArguments(packet, operation, payload)
    elseif id then
        text = showUnknownFunction(packet, payload, id)
    else
        if payload then packet.tree:add(own.cut, payload) end
        note(packet.tree, "short_request", "A request without a function id")
        text = "a request without a function id"
    end
    addOperation(packet, operation)
    info(packet, text)
    await(packet, {text = text, size = size})
end

-- An audio_param and what follows it.
local function showToServer(packet, bytes)
    local tree = packet.tree:add(bytes, "audio_param")
    local header = {tree = tree, bytes = bytes, values = {}, words = {}}
    local size, isComplete = showRecord(header, "audio_param")
    tree:set_len(size)
    if not isComplete then
        note(tree, "length", string.format("%d bytes, an audio_param has 88", bytes:len()))
        info(packet, "an incomplete message")
        return
    end
    if packet.type == UNKNOWN then packet.type = header.values.type end
    if header.values.cmd == REGISTER then
        showRegistration(packet, header, behind(bytes, size))
    else
        if header.values.cmd ~= CALL and header.values.cmd ~= CALL_WITH_FLAG then
            note(tree, "command", "Unknown command word " .. header.values.cmd)
        end
        showRequest(packet, header, behind(bytes, size))
    end
end

-- ---- Messages of the server ---------------------------------------------------------------------

-- Seconds between request and reply. The record has microseconds, 0 when the capturing side did not
-- measure them.
local function durationOf(packet, request)
    local detail = packet.detail:tonumber()
    if detail > 0 then return detail / 1e6 end
    return request and (packet.pinfo.abs_ts - request.time) or nil
end

-- Links the reply to its request; returns the request, or nil.
local function conclude(packet)
    local number, pinfo = packet.pinfo.number, packet.pinfo
    if not pinfo.visited then
        local request = state.pending[packet.connection]
        state.pending[packet.connection] = nil
        state.requests[number] = request
        if request then state.responses[request.number] = number end
    end
    local request = state.requests[number]
    if request then generated(packet, own.requestIn, request.number) end
    return request
end

-- Shows the response time and returns its text.
local function addDuration(packet, request)
    local seconds = durationOf(packet, request)
    if not seconds then return "" end
    local whole = math.floor(seconds)
    generated(packet, own.time, NSTime(whole, math.floor((seconds - whole) * 1e9 + 0.5)))
    local text = string.format("%.2f ms", seconds * 1e3)
    if seconds * 1e3 > proto.prefs.slow then
        note(packet.tree, "slow", "Slow reply: " .. text)
    end
    return text
end

local function showRegistrationReply(packet, body, request)
    local tree = packet.tree:add(body, "RegistrationReply")
    local shown = {tree = tree, bytes = body, values = {}, words = {}}
    local size, isComplete = showRecord(shown, "RegistrationReply")
    addSurplus(tree, behind(body, size))
    if not isComplete then note(tree, "short_reply", "Short reply to a registration") end
    local handle = shown.values.handle or 0
    local text = request and request.text or "registration"
    if handle == 0 then
        note(tree, "refused", "Registration refused")
        return text .. " -> refused"
    end
    if not packet.pinfo.visited then state.handles[packet.connection] = handle end
    return string.format("%s -> handle %d", text, handle)
end

local function noteStatus(shown)
    local status = shown.values.status
    if status and status ~= 0 then
        note(shown.tree, "status", string.format("Refused with %s", shown.words[1]))
    end
end

-- Words of the Info column; results only of requests that were not refused.
local function resultText(shown)
    local status = table.remove(shown.words, 1) or "no status"
    local results = shown.values.status == 0 and summaryOf(shown) or ""
    return status:gsub("^status ", "") .. (results ~= "" and ", " .. results or "")
end

local function showResults(packet, operation, body, request)
    local tree = packet.tree:add(body, string.format("%s of %s", operation.reply, operation.name))
    local shown = {tree = tree, bytes = body, unit = operation.unit, values = {}, words = {}}
    local bytes, isComplete = showRecord(shown, operation.reply)
    if not isComplete then
        note(tree, "short_reply", string.format("%d bytes, %s has %d: the rest is read as 0",
                                                body:len(), operation.reply,
                                                RECORDS[operation.reply].size))
    elseif RECORDS[operation.reply].block then
        local rest = behind(body, bytes)
        table.remove(shown.words)  -- the size
        -- The block has the size that the request named; a refused request's size reads 0.
        addBlock(shown, rest, request and request.size or rest and rest:len() or 0)
    else
        addSurplus(tree, behind(body, bytes))
    end
    noteStatus(shown)
    return resultText(shown)
end

local function showUnknownReply(packet, body)
    local tree = packet.tree:add(body, "StatusReply of an unknown function")
    local shown = {tree = tree, bytes = body, values = {}, words = {}}
    local bytes = showRecord(shown, "StatusReply")
    if behind(body, bytes) then tree:add(own.undecoded, behind(body, bytes)) end
    noteStatus(shown)
    return resultText(shown)
end

local function showReply(packet, body)
    local request = conclude(packet)
    local operation = operationOf(packet, packet.functionId)
    local text
    if not body then
        note(packet.tree, "short_reply", "A reply without a body")
        text = "a reply without a body"
    elseif packet.functionId == UNKNOWN and (not request or request.registers) then
        text = showRegistrationReply(packet, body, request)
    else
        local name = request and request.text or operation and operation.name or
            "function " .. packet.functionId
        text = name .. " -> " .. (operation and showResults(packet, operation, body, request) or
                                  showUnknownReply(packet, body))
    end
    addOperation(packet, operation)
    if not request then note(packet.tree, "unasked", "Its request is not in the capture") end
    info(packet, text .. " " .. addDuration(packet, request))
end

local function showNotification(packet, header, rest)
    addSurplus(packet.tree, rest)
    local events = EVENTS[packet.type]
    local event, value = header.values.event, header.values.param
    local name = events and events[event]
    if name then
        generated(packet, own.notification, name)
    else
        note(header.tree, "event", string.format("Notification %d is unknown on %s", event,
                                                 typeName(packet.type)))
    end
    info(packet, string.format("notification %s, value %d", name or event, value))
end

-- A SocketFrameHeader and what follows it.
local function showToClient(packet, bytes)
    local tree = packet.tree:add(bytes, "SocketFrameHeader")
    local header = {tree = tree, bytes = bytes, values = {}, words = {}}
    local size, isComplete = showRecord(header, "SocketFrameHeader")
    tree:set_len(size)
    local rest = behind(bytes, size)
    if not isComplete then
        note(tree, "length", string.format("%d bytes, a frame header has 32", bytes:len()))
        info(packet, "an incomplete frame header")
        return
    end
    if header.values.magic ~= FRAME_MAGIC then
        note(tree, "magic", string.format("Wrong magic 0x%08x", header.values.magic))
    end
    if header.values.headerId == NOTIFICATION then
        showNotification(packet, header, rest)
    elseif header.values.headerId == REPLY then
        showReply(packet, rest)
    else
        note(tree, "header_id", "Unknown header id " .. header.values.headerId)
        if rest then packet.tree:add(own.undecoded, rest) end
        info(packet, "a frame with the unknown header id " .. header.values.headerId)
    end
end

-- ---- Other records ------------------------------------------------------------------------------

local function showConnected(packet, bytes)
    addSurplus(packet.tree, bytes)
    info(packet, "connected")
end

local function showDisconnected(packet, bytes)
    addSurplus(packet.tree, bytes)
    noteUnanswered(packet)
    info(packet, "disconnected")
end

-- Shows the record of that name and returns it, and the bytes behind it.
local function showWhole(packet, name, bytes)
    local tree = packet.tree:add(bytes or packet.whole, name)
    local shown = {tree = tree, bytes = bytes, values = {}, words = {}}
    local size, isComplete = showRecord(shown, name)
    if not isComplete then note(tree, "record", "An incomplete " .. name) end
    return shown, behind(bytes, size)
end

local function showRing(packet, bytes)
    local shown, rest = showWhole(packet, "RingSummary", bytes)
    addSurplus(packet.tree, rest)
    local words = {}
    for _, leaf in ipairs(RECORDS.RingSummary.fields) do
        words[leaf.name] = leaf.name ~= "event" and tostring(shown.values[leaf.name] or "?")
    end
    local event = CHOICES["RingSummary.event"][shown.values.event] or "event"
    info(packet, string.format("ring: %s x %s, %s bytes, fill %s of %s bytes, longest wait %s us",
                               words.count, event:lower(), words.bytes, words.fill, words.size,
                               words.longestWait))
end

local function showSound(packet, bytes)
    local shown, rest = showWhole(packet, "SoundHeader", bytes)
    if rest then packet.tree:add(own.data, rest) end
    packet.isToClient = shown.values.direction == TO_CLIENT
    info(packet, string.format("sound: %d bytes from byte %s", rest and rest:len() or 0,
                               tostring(shown.values.position or "?")))
end

local function showLost(packet, bytes)
    local shown, rest = showWhole(packet, "LostRecords", bytes)
    addSurplus(packet.tree, rest)
    local text = tostring(shown.values.count or "?") .. " records were lost"
    note(shown.tree, "lost", text)
    info(packet, text)
end

-- ---- Packets ------------------------------------------------------------------------------------

-- By kind of record: how it is shown, and whether it goes to the client.
local KINDS = {
    [0] = {show = showConnected},
    [1] = {show = showToServer, needsBytes = true},
    [2] = {show = showToClient, needsBytes = true, isToClient = true},
    [3] = {show = showDisconnected},
    [4] = {show = showRing},
    [5] = {show = showSound},
    [6] = {show = showLost},
}

local function showColumns(packet)
    local client, isToClient = clientOf(packet), packet.isToClient
    packet.pinfo.cols.protocol = "cabinaudio"
    packet.pinfo.cols.src = isToClient and "server" or client
    packet.pinfo.cols.dst = isToClient and client or "server"
    if state.clients[packet.connection] then
        generated(packet, own.client, state.clients[packet.connection])
    end
end

local function showKind(packet, kind, bytes)
    local row = KINDS[kind]
    if not row then
        note(packet.tree, "record", "Unknown kind of record " .. kind)
        if bytes then packet.tree:add(own.undecoded, bytes) end
        info(packet, "a record of the unknown kind " .. kind)
    elseif row.needsBytes and not bytes then
        note(packet.tree, "length", "A message without bytes")
        info(packet, "a message without bytes")
    else
        packet.isToClient = row.isToClient
        row.show(packet, bytes)
    end
    showColumns(packet)
end

local function checkHeader(shown)
    if shown.values.magic ~= "CABN" then note(shown.tree, "record", "Wrong magic of a record") end
    if shown.values.version ~= 1 then
        note(shown.tree, "record", "Unknown version of a record: " .. shown.values.version)
    end
end

function proto.dissector(buffer, pinfo, root)
    if not state then proto.init() end
    local whole = buffer()
    local tree = root:add(proto, whole)
    local header = {tree = tree:add(whole, "Record of the capture"), bytes = whole, values = {},
                    words = {}}
    local size, isComplete = showRecord(header, "RecordHeader")
    header.tree:set_len(size)
    if not isComplete then
        note(header.tree, "record", "An incomplete record")
        pinfo.cols.protocol = "cabinaudio"
        pinfo.cols.info = "an incomplete record"
        return buffer:len()
    end
    checkHeader(header)
    local values = header.values
    local packet = {pinfo = pinfo, tree = tree, whole = whole, connection = values.connection,
                    type = values.type, functionId = values["function"], detail = values.detail}
    showKind(packet, values.kind, behind(whole, size))
    return buffer:len()
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, proto)
