// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Event.h"
#include "tools/view/Snapshot.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

namespace cabinaudio::tool::view {

/// The newest snapshot, between the thread that makes it and the event streams. A slow stream skips
/// snapshots; it never holds up the others.
class Board {
public:
    using Pointer = std::shared_ptr<const Snapshot>;

    void publish(Snapshot snapshot);
    /// Ends all event streams.
    void close();

    /// Waits for a snapshot other than `known`. @return `known` when the time is over; null once
    /// the board is closed
    [[nodiscard]] Pointer next(const Pointer& known, std::chrono::milliseconds bound);
    [[nodiscard]] Pointer newest() const;

    /// Counts event streams. Nobody asks the server for levels while there are none.
    void addWatcher();
    void removeWatcher();
    [[nodiscard]] bool isWatched() const;
    /// Set when the first stream has come.
    [[nodiscard]] const Event& watched() const { return mWatched; }

private:
    const Event mWatched;
    mutable std::mutex mLock;
    std::condition_variable mChanged;
    Pointer mNewest;
    std::size_t mWatchers = 0;
    bool mIsClosed = false;
};

}  // namespace cabinaudio::tool::view
