// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "wire/Stream.h"

#include <array>
#include <cstdint>

namespace cabinaudio::bench {

/// Facts about a stream client that a minimal stream of the same kind needs.
struct StreamKind {
    const char* name;         // in the tables
    AudioTagType tag;         // also the number of its connection type
    std::uint32_t create;     // function id
    std::uint32_t initCheck;  // function id, 0: no request
    bool hasRing;             // maps a ring when constructed; otherwise on the announcement
};

template <typename Function>
constexpr std::uint32_t functionId(Function function) {
    return static_cast<std::uint32_t>(function);
}

inline constexpr StreamKind ALTERNATIVE{"track alternative", AUDIO_TAG_ALTERNATIVE,
                                        functionId(wire::StreamFunction::Create),
                                        functionId(wire::StreamFunction::InitCheck), true};
inline constexpr StreamKind AUXILIARY{"track auxiliary", AUDIO_TAG_AUXILIARY,
                                      functionId(wire::StreamFunction::Create),
                                      functionId(wire::StreamFunction::InitCheck), false};
inline constexpr StreamKind SINK{"sink", AUDIO_TAG_MAIN, functionId(wire::StreamFunction::Create),
                                 0, false};
inline constexpr StreamKind RECORD{"record", AUDIO_TAG_INPUT0,
                                   functionId(wire::CaptureFunction::Create),
                                   functionId(wire::CaptureFunction::InitCheck), true};
inline constexpr StreamKind UPLINK{"uplink", AUDIO_TAG_UPLINK,
                                   functionId(wire::CaptureFunction::Create),
                                   functionId(wire::CaptureFunction::InitCheck), false};

inline constexpr std::array<const StreamKind*, 5> KINDS{&ALTERNATIVE, &AUXILIARY, &SINK, &RECORD,
                                                        &UPLINK};

/// Name of all streams, and of their rings.
inline constexpr char STREAM_NAME[] = "bench";

}  // namespace cabinaudio::bench
