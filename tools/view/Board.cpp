// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Board.h"

#include <utility>

namespace cabinaudio::tool::view {

void Board::publish(Snapshot snapshot) {
    auto next = std::make_shared<const Snapshot>(std::move(snapshot));
    {
        const std::lock_guard lock(mLock);
        mNewest.swap(next);
    }
    mChanged.notify_all();
}

void Board::close() {
    {
        const std::lock_guard lock(mLock);
        mIsClosed = true;
    }
    mChanged.notify_all();
}

Board::Pointer Board::next(const Pointer& known, std::chrono::milliseconds bound) {
    std::unique_lock lock(mLock);
    mChanged.wait_for(lock, bound, [&] { return mIsClosed || mNewest != known; });
    return mIsClosed ? nullptr : mNewest;
}

Board::Pointer Board::newest() const {
    const std::lock_guard lock(mLock);
    return mNewest;
}

void Board::addWatcher() {
    {
        const std::lock_guard lock(mLock);
        ++mWatchers;
    }
    mWatched.set();
}

void Board::removeWatcher() {
    const std::lock_guard lock(mLock);
    --mWatchers;
}

bool Board::isWatched() const {
    const std::lock_guard lock(mLock);
    return mWatchers > 0;
}

}  // namespace cabinaudio::tool::view
