// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::trace {

/// The client of a connection, as far as the capture has told.
struct Peer {
    std::uint32_t connection = 0;
    std::int32_t pid = 0;          // 0 when it is not known
    std::uint32_t type = UNKNOWN;  // audio_connect_type
    std::uint32_t handle = 0;      // 0 before the registration
    std::string name;              // as the client gave it
};

/// What a line of a trace is about: one record, or a request with its reply.
struct Happening {
    enum class Kind {
        Connected,
        Registration,  // request and reply
        Request,       // request and reply
        Notification,  // bytes: the frame
        Disconnected,
        Ring,        // bytes: as in the record
        Sound,       // bytes: as in the record
        Lost,        // bytes: as in the record
        FromClient,  // bytes that are no message
        FromServer,  // bytes that answer no request and are no notification
    };

    Kind kind = Kind::Connected;
    std::uint64_t timeNs = 0;  // of the record that completes it
    Peer peer;
    std::vector<std::uint8_t> request;  // header and payload
    bool isAnswered = false;
    std::vector<std::uint8_t> reply;  // frame header and body
    std::uint64_t microseconds = 0;   // from request to reply
    std::vector<std::uint8_t> bytes;
};

}  // namespace cabinaudio::trace
