// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/LinkPolicy.h>

#include "foundation/OrdinaryThreads.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace cabinaudio {
namespace {

// No other data depends on these, so relaxed order is enough.
std::atomic<std::int64_t> gReplyTimeoutMs{0};
std::atomic<bool> gWakesOnServerLoss{false};

}  // namespace

void setLinkPolicy(const LinkPolicy& policy) noexcept {
    gReplyTimeoutMs.store(std::max<std::int64_t>(policy.replyTimeout.count(), 0),
                          std::memory_order_relaxed);
    gWakesOnServerLoss.store(policy.wakesOnServerLoss, std::memory_order_relaxed);
    gAllowsOrdinaryThreads.store(policy.allowsOrdinaryThreads, std::memory_order_relaxed);
}

LinkPolicy linkPolicy() noexcept {
    return {std::chrono::milliseconds(gReplyTimeoutMs.load(std::memory_order_relaxed)),
            gWakesOnServerLoss.load(std::memory_order_relaxed),
            gAllowsOrdinaryThreads.load(std::memory_order_relaxed)};
}

}  // namespace cabinaudio
