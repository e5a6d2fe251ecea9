// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/RemoteCall.h>

#include "foundation/FunctionRef.h"
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

/// How a request ended. A caller with texts of its own logs the steps that failed.
struct Answer {
    bool arrived;            // the server has answered, and the reply holds what it sent
    bool isFreed;            // the blocks; true when there were none
    std::int32_t status;     // the server's, or why there is no answer
    std::int32_t allocated;  // result of RemoteCall::rcalloc(); nothing was sent unless 0
};

/// One whole request: allocates the blocks, has the request filled in, sends it, waits for the
/// reply (without a time limit unless LinkPolicy sets one), hands over the outcome, and frees the
/// blocks. Logs only the lines of RemoteCall and its connection. Sends nothing while another
/// request of this client is outstanding.
/// @param replySize  at least the status, with which every reply begins
/// @param fill       gets the request's bytes, which have no values yet, and writes all of them
/// @param conclude   gets the result of RemoteCall::call() and the reply's bytes, with zeros for
///                   missing ones; runs while the blocks are outstanding
template <typename Fill, typename Conclude>
Answer requestBlocks(RemoteCall& rc, std::uint32_t requestSize, std::uint32_t replySize, bool flag,
                     const Fill& fill, const Conclude& conclude) {
    // To the end, because the destructor may be waiting for call() to return.
    const UseGate::Visit visit(RemoteCallAccess::requests(rc));
    std::uint8_t* param = nullptr;
    std::uint8_t* ret = nullptr;
    const std::int32_t allocated = rc.rcalloc(&param, requestSize, &ret, replySize);
    if (allocated != AUDIO_NO_ERROR) return {false, true, AUDIO_NO_MEMORY, allocated};

    fill(param);
    std::memset(ret, 0, replySize);
    std::int32_t status = rc.call(param, requestSize, ret, replySize, flag);
    const bool arrived = status == AUDIO_NO_ERROR;
    conclude(status, static_cast<const std::uint8_t*>(ret));
    if (arrived) std::memcpy(&status, ret, sizeof status);
    const bool isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;
    return {arrived, isFreed, status, allocated};
}

/// The clients fill and conclude their requests in many ways, by reference: the library has one
/// copy of the sequence for all of them.
using FillRef = FunctionRef<void(std::uint8_t* request)>;
using ConcludeRef = FunctionRef<void(std::int32_t called, const std::uint8_t* reply)>;
extern template Answer requestBlocks(RemoteCall& rc, std::uint32_t requestSize,
                                     std::uint32_t replySize, bool flag, const FillRef& fill,
                                     const ConcludeRef& conclude);

/// The line about blocks that could not be freed, of requests that have no other text for it.
void logUnfreed(const Answer& answer, const LogSite& site);

}  // namespace cabinaudio
