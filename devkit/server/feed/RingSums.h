// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/rings/RingWatcher.h"
#include "devkit/trace/RecordHeader.h"

#include <cstdint>
#include <vector>

namespace cabinaudio::server {

/// Sums up what the server does with the ring of one stream.
class RingSums {
public:
    /// Stream time in one summary.
    static constexpr std::uint64_t INTERVAL_MS = 250;

    void add(const RingTraffic& traffic);
    /// Whether the interval is over.
    [[nodiscard]] bool isDue() const { return mLastMs - mFirstMs >= INTERVAL_MS; }
    /// The summaries since the last call; none when nothing has happened.
    [[nodiscard]] std::vector<trace::RingSummary> take();

private:
    trace::RingSummary mMoved = {};    // Read or Write
    std::uint32_t mNotifications = 0;  // posts of the client's semaphore
    std::uint64_t mFirstMs = 0;
    std::uint64_t mLastMs = 0;
};

}  // namespace cabinaudio::server
