// SPDX-License-Identifier: Apache-2.0
#include "python/src/Life.h"

#include <atomic>
#include <chrono>
#include <stdexcept>

namespace cabinaudio::python {

namespace {

using namespace std::chrono_literals;

/// Between two attempts to end the calls in progress.
constexpr auto STEP = 20ms;

/// Number of forks between the first process and this one.
std::atomic<unsigned> gGeneration{0};

}  // namespace

void abandonAfterFork() {
    ++gGeneration;
}

Life::Life() : mGeneration(gGeneration) {}

Life::Use::Use(Life& life) : mLife(life) {
    // First: the parent may have held the lock at the fork.
    if (life.isAbandoned())
        throw std::runtime_error("it belongs to the parent process: make one after the fork");
    const std::scoped_lock lock(life.mLock);
    if (life.mIsClosed) throw std::invalid_argument("it is closed");
    ++life.mUses;
}

Life::Use::~Use() {
    if (mLife.isAbandoned()) return;
    const std::scoped_lock lock(mLife.mLock);
    if (--mLife.mUses == 0) mLife.mLeft.notify_all();
}

bool Life::isAbandoned() const {
    return mGeneration != gGeneration;
}

bool Life::isClosed() {
    if (isAbandoned()) return true;
    const std::scoped_lock lock(mLock);
    return mIsClosed;
}

bool Life::close() {
    if (isAbandoned()) return false;
    const std::scoped_lock lock(mLock);
    const bool wasClosed = mIsClosed;
    mIsClosed = true;
    return !wasClosed;
}

bool Life::isUnused() {
    std::unique_lock lock(mLock);
    return mLeft.wait_for(lock, STEP, [&] { return mUses == 0; });
}

}  // namespace cabinaudio::python
