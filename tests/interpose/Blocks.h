// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/interpose/Operations.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <utility>

namespace cabinaudio::test {

/// The request and reply blocks of all RemoteCalls while this lives: their sizes, and failures that
/// no server can produce. One at a time. A call may still be inside a hook when this is gone, so
/// the state outlives it.
class Blocks {
public:
    Blocks() {
        sAsked = 0;
        operations::rcalloc.set(allocate);
        operations::rcfree.set(free);
    }
    ~Blocks() {
        operations::rcalloc.set(nullptr);
        operations::rcfree.set(nullptr);
        refuse(false);
        failFreeing(false);
        loseReplies(false);
        if (sLook) whenFreeing(nullptr);
    }
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    /// How many pairs have been asked for.
    [[nodiscard]] std::size_t asked() const { return sAsked; }
    /// Sizes of the last pair that was asked for, without the header.
    [[nodiscard]] std::uint32_t requestSize() const { return sRequestSize; }
    [[nodiscard]] std::uint32_t replySize() const { return sReplySize; }

    /// RemoteCall::rcalloc() refuses, those of callFuncId() included.
    void refuse(bool does) { sRefuses = does; }
    /// RemoteCall::rcfree() frees, but reports a failure.
    void failFreeing(bool does) { sFreeingFails = does; }
    /// RemoteCall::call() sends nothing, leaves something in the reply block, and returns 1.
    void loseReplies(bool does) { operations::call.set(does ? loseReply : nullptr); }
    /// Called at the begin of each RemoteCall::rcfree(), by its thread. Set while no operation is
    /// under way.
    void whenFreeing(std::function<void()> look) { sLook = std::move(look); }

private:
    static std::int32_t allocate(RemoteCall* rc, std::uint8_t** req, std::uint32_t reqLen,
                                 std::uint8_t** ret, std::uint32_t retLen) {
        ++sAsked;
        sRequestSize = reqLen;
        sReplySize = retLen;
        if (sRefuses) return AUDIO_BAD_SEQUENCE;
        return operations::rcalloc.real(rc, req, reqLen, ret, retLen);
    }
    static std::int32_t loseReply(RemoteCall*, std::uint8_t*, std::uint32_t, std::uint8_t* ret,
                                  std::uint32_t retLen, bool) {
        std::memset(ret, 1, retLen);
        return 1;
    }
    static std::int32_t free(RemoteCall* rc, void* req, void* ret) {
        if (sLook) sLook();
        const std::int32_t freed = operations::rcfree.real(rc, req, ret);
        return sFreeingFails ? std::int32_t{AUDIO_BAD_SEQUENCE} : freed;
    }

    static inline std::atomic<std::size_t> sAsked{0};
    static inline std::atomic<std::uint32_t> sRequestSize{0};
    static inline std::atomic<std::uint32_t> sReplySize{0};
    static inline std::atomic<bool> sRefuses{false};
    static inline std::atomic<bool> sFreeingFails{false};
    static inline std::function<void()> sLook;
};

}  // namespace cabinaudio::test
