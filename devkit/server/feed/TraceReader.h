// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/taps/Outflow.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace cabinaudio::server {

/// One reader of the feed: gets blocks of a capture through a bounded buffer. Blocks that do not
/// fit are dropped and counted; a record with their number takes their place. Of the event loop's
/// thread.
class TraceReader {
public:
    /// @param bound   bytes that may wait for the reader
    /// @param onGone  called once the reader has closed its connection
    TraceReader(EventLoop& loop, UniqueFd socket, Admitted admitted, bool wantsSound,
                std::size_t bound, std::function<void()> onGone);

    /// The answer to the reader's command, without the line end. Comes before all blocks.
    void answer(const std::string& line);
    /// @param block  whole blocks
    void add(std::span<const std::uint8_t> block);

    [[nodiscard]] bool wantsSound() const { return mWantsSound; }
    [[nodiscard]] bool isGone() const { return mOutflow.isGone(); }
    [[nodiscard]] std::size_t queuedBytes() const { return mOutflow.queuedBytes(); }
    /// Since the start.
    [[nodiscard]] std::uint64_t lostRecords() const { return mLost; }
    [[nodiscard]] Outflow& outflow() { return mOutflow; }
    /// Nothing follows. Reports the last loss.
    void finish();

private:
    void lose();
    void reportLoss();

    Outflow mOutflow;
    const bool mWantsSound;
    const std::size_t mBound;
    std::uint64_t mLost = 0;
    std::uint64_t mUnreported = 0;  // of the lost records
};

}  // namespace cabinaudio::server
