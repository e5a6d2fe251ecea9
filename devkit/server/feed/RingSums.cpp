// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/feed/RingSums.h"

namespace cabinaudio::server {

void RingSums::add(const RingTraffic& traffic) {
    mMoved.event = static_cast<std::uint32_t>(traffic.event);
    ++mMoved.count;
    mMoved.bytes += traffic.bytes.size();
    mMoved.position = traffic.begin + traffic.bytes.size();
    mMoved.fill = traffic.fill;
    mMoved.size = traffic.size;
    mLastMs = traffic.streamMs;
    if (traffic.notifiesClient) ++mNotifications;
}

std::vector<trace::RingSummary> RingSums::take() {
    std::vector<trace::RingSummary> summaries;
    if (mMoved.count != 0) summaries.push_back(mMoved);
    if (mNotifications != 0) {
        trace::RingSummary notified = mMoved;
        notified.event = static_cast<std::uint32_t>(trace::RingEvent::Notify);
        notified.count = mNotifications;
        notified.bytes = 0;
        summaries.push_back(notified);
    }
    mMoved.count = 0;
    mNotifications = 0;
    mMoved.bytes = 0;
    mFirstMs = mLastMs;
    return summaries;
}

}  // namespace cabinaudio::server
