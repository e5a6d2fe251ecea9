// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace cabinaudio::test {

/// The request and reply blocks of all RemoteCalls while this lives: their sizes, and failures that
/// no server can produce. One at a time.
class Blocks {
public:
    Blocks();
    ~Blocks();
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;

    /// How many pairs have been asked for.
    [[nodiscard]] std::size_t asked() const;
    /// Sizes of the last pair that was asked for, without the header.
    [[nodiscard]] std::uint32_t requestSize() const;
    [[nodiscard]] std::uint32_t replySize() const;

    /// RemoteCall::rcalloc() refuses, those of callFuncId() included.
    void refuse(bool does);
    /// RemoteCall::rcfree() frees, but reports a failure.
    void failFreeing(bool does);
    /// RemoteCall::call() sends nothing, leaves something in the reply block, and returns 1.
    void loseReplies(bool does);
    /// Called at the begin of each RemoteCall::rcfree(), by its thread.
    void whenFreeing(std::function<void()> look);
};

}  // namespace cabinaudio::test
