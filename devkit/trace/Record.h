// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/RecordHeader.h"

#include <cstdint>
#include <vector>

namespace cabinaudio::trace {

/// One record of a capture: a message as it was sent, an end of a connection, or a summary.
struct Record {
    std::uint64_t timeNs = 0;  // since 1970
    Kind kind = Kind::Connected;
    std::uint32_t connection = 0;      // from 1, never reused in a capture
    std::int32_t pid = 0;              // of the client; 0 when it is not known
    std::uint32_t type = UNKNOWN;      // audio_connect_type
    std::uint32_t function = UNKNOWN;  // of a request, and of the reply to it
    std::uint64_t detail = 0;          // reply: microseconds since the request
    std::vector<std::uint8_t> bytes;   // what follows the header, see Kind

    bool operator==(const Record&) const = default;
};

}  // namespace cabinaudio::trace
