// SPDX-License-Identifier: Apache-2.0
#include "foundation/UseGate.h"

namespace cabinaudio {
namespace {

/// Changes when the last visitor has left a gate that is being drained. One word for all gates of
/// the process, because a gate may be deleted as soon as it is empty. A drain that is woken for
/// another gate waits again.
constinit std::atomic<std::uint32_t> gEmptied{0};

}  // namespace

void UseGate::drain() noexcept {
    mState.fetch_or(DRAINING, std::memory_order_acq_rel);
    for (;;) {
        // Loaded before the count is read: if the last visitor leaves after that, this word differs
        // from `seen`, and the wait returns at once.
        const std::uint32_t seen = gEmptied;
        if ((mState.load(std::memory_order_acquire) & VISITORS) == 0) break;
        gEmptied.wait(seen);
    }
    mState.fetch_and(VISITORS, std::memory_order_relaxed);
}

void UseGate::wakeDrains() noexcept {
    ++gEmptied;
    gEmptied.notify_all();
}

}  // namespace cabinaudio
