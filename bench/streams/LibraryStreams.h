// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>

#include "bench/streams/Kinds.h"

#include <type_traits>

namespace cabinaudio::bench {

/// The answering server ignores the format, because nothing is played or recorded.
inline AudioFormatDesc& anyFormat() {
    static AudioFormatDesc none{};
    return none;
}

/// The library's streams, with MinimalStream's constructor.
template <typename Client>
class LibraryStream : public Client {
public:
    explicit LibraryStream(const StreamKind& kind) requires std::is_same_v<Client, ClientRecordRt>
        : Client(STREAM_NAME, kind.tag, anyFormat()) {}
    explicit LibraryStream(const StreamKind& kind) requires(!std::is_same_v<Client, ClientRecordRt>)
        : Client(STREAM_NAME, kind.tag, anyFormat(), 0) {}
};

/// Calls `use` with the library's class for a kind: use.template operator()<Class>().
template <typename Use>
void withLibraryClass(const StreamKind& kind, Use use) {
    switch (kind.tag) {
        case AUDIO_TAG_MAIN:
            return use.template operator()<LibraryStream<ClientSink>>();
        case AUDIO_TAG_INPUT0:
            return use.template operator()<LibraryStream<ClientRecord>>();
        case AUDIO_TAG_UPLINK:
            return use.template operator()<LibraryStream<ClientRecordRt>>();
        default:
            return use.template operator()<LibraryStream<ClientTrack>>();
    }
}

}  // namespace cabinaudio::bench
