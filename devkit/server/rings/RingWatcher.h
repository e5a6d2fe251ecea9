// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/RecordHeader.h"

#include <cstdint>
#include <span>

namespace cabinaudio::server {

class Client;

/// Bytes that the server has moved through the ring of a client's stream.
struct RingTraffic {
    trace::RingEvent event = trace::RingEvent::Read;  // or Write
    std::span<const std::uint8_t> bytes;              // may lie in shared memory
    std::uint64_t begin = 0;      // place of the first of them: bytes since the stream's creation
    std::uint64_t streamMs = 0;   // the stream's time, when they were moved
    bool notifiesClient = false;  // the client's semaphore is posted
    std::uint32_t fill = 0;       // bytes in the ring afterwards
    std::uint32_t size = 0;       // of the ring, bytes
};

/// Sees what streams do with their rings. Called on the event loop's thread.
class RingWatcher {
public:
    /// Whether moved() is of any use.
    [[nodiscard]] virtual bool isWatching() const = 0;
    virtual void moved(const Client& client, const RingTraffic& traffic) = 0;

protected:
    ~RingWatcher() = default;
};

}  // namespace cabinaudio::server
