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

/// Outcome of a request. A caller with its own log texts logs the steps that failed.
struct Answer {
    bool arrived;            // the server has answered, and the reply holds what it sent
    bool isFreed;            // whether the blocks were freed; true when there were none
    std::int32_t status;     // the server's, or the reason why there is no reply
    std::int32_t allocated;  // result of RemoteCall::rcalloc(); nothing was sent unless 0
};

/// One complete request: allocates the blocks, lets `fill` write the request, sends it, waits for
/// the reply (without a time limit unless LinkPolicy sets one), passes the outcome to `conclude`,
/// and frees the blocks. Only RemoteCall and its connection log here. Sends nothing while another
/// request of this client is outstanding.
/// @param replySize  bytes of the reply, at least those of the status with which it begins
/// @param fill       gets the request block, which is uninitialised, and writes all of it
/// @param conclude   gets the result of RemoteCall::call() and the reply block, in which missing
///                   bytes are zeros; runs while the blocks are outstanding
template <typename Fill, typename Conclude>
Answer requestBlocks(RemoteCall& rc, std::uint32_t requestSize, std::uint32_t replySize, bool flag,
                     const Fill& fill, const Conclude& conclude) {
    // Covers the whole request, because the destructor may be waiting for call() to return.
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

/// The clients pass their many kinds of `fill` and `conclude` by reference, so that the library has
/// a single instance of the sequence.
using FillRef = FunctionRef<void(std::uint8_t* request)>;
using ConcludeRef = FunctionRef<void(std::int32_t called, const std::uint8_t* reply)>;
extern template Answer requestBlocks(RemoteCall& rc, std::uint32_t requestSize,
                                     std::uint32_t replySize, bool flag, const FillRef& fill,
                                     const ConcludeRef& conclude);

/// Logs that blocks could not be freed, for requests without a log text of their own for it.
void logUnfreed(const Answer& answer, const LogSite& site);

}  // namespace cabinaudio
