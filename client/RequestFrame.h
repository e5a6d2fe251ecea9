// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "foundation/Log.h"

#include <cstdint>

class RemoteCall;

namespace cabinaudio {

/// How each step of a request went. Who asks has texts of its own for what went wrong.
struct Steps {
    std::int32_t allocated;  // of the blocks; nothing else has happened unless 0
    std::int32_t called;     // 0: the server has answered
    bool isFreed;
};

/// One whole request: allocates the blocks, sends `request`, waits for the reply without a time
/// limit, and frees the blocks. Logs nothing.
/// @param reply  gets what arrived, with zeros for what is missing; left as it was when no block
///               could be had, which is so while another request of this client is outstanding
Steps ask(RemoteCall& rc, const void* request, std::uint32_t requestSize, void* reply,
          std::uint32_t replySize, bool flag);

template <typename Request, typename Reply>
Steps ask(RemoteCall& rc, const Request& request, Reply& reply, bool flag) {
    return ask(rc, &request, sizeof(Request), &reply, sizeof(Reply), flag);
}

/// How a request ended.
struct Answer {
    bool arrived;         // the server has answered, and the reply holds what it sent
    std::int32_t status;  // the server's, or why there is no answer
};

/// A request whose reply begins with the server's status word. `reply` is left as it was when
/// nothing arrived.
///
/// A request that is outstanding already is refused with AUDIO_NO_MEMORY, without a log line.
/// `site` is the public operation, whose name stands in the log.
Answer exchange(RemoteCall& rc, const LogSite& site, const void* request, std::uint32_t requestSize,
                void* reply, std::uint32_t replySize, bool flag);

template <typename Request, typename Reply>
Answer exchange(RemoteCall& rc, const LogSite& site, const Request& request, Reply& reply,
                bool flag) {
    static_assert(sizeof(reply.status) == sizeof(std::int32_t));
    return exchange(rc, site, &request, sizeof(Request), &reply, sizeof(Reply), flag);
}

}  // namespace cabinaudio
