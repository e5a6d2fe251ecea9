// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/RemoteCall.h>

#include "foundation/Log.h"
#include "foundation/UseGate.h"
#include "link/RemoteCallAccess.h"

#include <cstdint>
#include <cstring>

namespace cabinaudio {

/// A function's number on the wire.
template <typename Function>
constexpr std::uint32_t id(Function function) {
    return static_cast<std::uint32_t>(function);
}

/// How each step of a request went. Who asks has texts of its own for what went wrong.
struct Steps {
    std::int32_t allocated;  // of the blocks; nothing else has happened unless 0
    std::int32_t called;     // 0: the server has answered
    bool isFreed;
};

/// One whole request: allocates the blocks, has the request filled in, sends it, waits for the
/// reply (without a time limit unless LinkPolicy sets one), hands over the outcome, and frees the
/// blocks. Logs only the lines of RemoteCall and its connection. Sends nothing while another
/// request of this client is outstanding.
/// @param fill      gets the request's bytes, all 0
/// @param conclude  gets the result of RemoteCall::call() and the reply's bytes, with zeros for
///                  missing ones; runs while the blocks are outstanding
template <typename Fill, typename Conclude>
Steps requestBlocks(RemoteCall& rc, std::uint32_t requestSize, std::uint32_t replySize, bool flag,
                    Fill fill, Conclude conclude) {
    // To the end, because the destructor may be waiting for call() to return.
    const UseGate::Visit visit(RemoteCallAccess::requests(rc));
    std::uint8_t* param = nullptr;
    std::uint8_t* ret = nullptr;
    Steps steps{rc.rcalloc(&param, requestSize, &ret, replySize), AUDIO_NOT_CONNECTED, true};
    if (steps.allocated != AUDIO_NO_ERROR) return steps;

    std::memset(param, 0, requestSize);
    fill(param);
    std::memset(ret, 0, replySize);
    steps.called = rc.call(param, requestSize, ret, replySize, flag);
    conclude(steps.called, static_cast<const std::uint8_t*>(ret));
    steps.isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;
    return steps;
}

/// As above, where only a reply matters.
/// @param take  gets the reply's bytes when one arrived
template <typename Fill, typename Take>
Steps exchangeBlocks(RemoteCall& rc, std::uint32_t requestSize, std::uint32_t replySize, bool flag,
                     Fill fill, Take take) {
    return requestBlocks(rc, requestSize, replySize, flag, fill,
                         [&](std::int32_t called, const std::uint8_t* ret) {
                             if (called == AUDIO_NO_ERROR) take(ret);
                         });
}

/// How a request ended.
struct Answer {
    bool arrived;         // the server has answered, and the reply holds what it sent
    std::int32_t status;  // the server's, or why there is no answer
};

/// What the steps of a request come to, given the status that arrived. A block that could not be
/// freed is logged.
Answer answerOf(const Steps& steps, std::int32_t replied, const LogSite& site);

}  // namespace cabinaudio
