// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace cabinaudio::server {

/// Kind of a record in a listener's connection, which carries nothing else after the answer line.
enum class TapRecord : std::uint32_t {
    Samples = 1,      // `count` bytes of whole frames follow
    Lost = 2,         // `count` frames did not fit into the buffer
    Begun = 3,        // the stream exists
    StreamEnded = 4,  // the stream was removed; nothing follows
    ServerEnded = 5,  // the server ends in good order; nothing follows
};

/// In front of every record, in the machine's byte order: both sides run on one machine.
struct TapHeader {
    TapRecord kind;
    std::uint32_t count;
};
static_assert(sizeof(TapHeader) == 8);

}  // namespace cabinaudio::server
