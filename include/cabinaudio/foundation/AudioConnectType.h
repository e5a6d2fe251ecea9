// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

/// Connection type of a client. A client sends its type at registration and in every request;
/// function ids are numbered per type. The type of a stream has the value of the stream's tag.
enum audio_connect_type : std::uint32_t {
    AUDIO_CONNECT_MAIN = 0,
    AUDIO_CONNECT_ALTERNATIVE = 1,
    AUDIO_CONNECT_AUXILIARY = 2,
    AUDIO_CONNECT_OUTPUT_INVOCATION = 3,
    AUDIO_CONNECT_INPUT0 = 64,
    AUDIO_CONNECT_UPLINK = 65,
    AUDIO_CONNECT_INPUT1 = 66,
    AUDIO_CONNECT_INPUT2 = 67,
    AUDIO_CONNECT_INPUT_FRONT_FEEDBACK = 68,
    AUDIO_CONNECT_APP_SETTING = 128,
    AUDIO_CONNECT_MIXER_SETTING = 129,
    AUDIO_CONNECT_SOURCE_SETTING = 130,
    AUDIO_CONNECT_VOLUME_SETTING = 131,
    AUDIO_CONNECT_VERSION_SETTING = 132,
    AUDIO_CONNECT_RECORD_CONTROL = 133,
    /// An unknown tag; the server refuses it.
    AUDIO_CONNECT_UNKNOWN = 255,
};
