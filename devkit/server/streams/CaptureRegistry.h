// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/inputs/InputChoice.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/rings/RingPlaces.h"
#include "devkit/server/rings/RingWatcher.h"
#include "devkit/server/streams/CaptureStream.h"
#include "wire/Stream.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Creates, finds and removes the capture streams. Each client has at most one.
class CaptureRegistry {
public:
    struct Settings {
        InputChoice inputs;
        std::uint32_t ringPeriods = 8;
        /// Empty: uplinks get their rings on command only.
        std::optional<std::chrono::milliseconds> uplinkDelay;
        /// Factor for a channel recorded by streams of a tag; null means 1.
        std::function<float(AudioTagType tag, std::size_t channel)> gain;
        /// See CaptureStream::Parts.
        bool isRingFilledFirst = false;
        /// Called when a client has read from a ring; may be null.
        ShareMemoryUpdateNotificationCallback* onRead = nullptr;
        /// Sees what streams write into their rings; may be null.
        RingWatcher* watcher = nullptr;
    };

    CaptureRegistry(EventLoop& loop, RingPlaces& places, Settings settings);

    /// Called whenever recording may have become possible or impossible.
    void setOnChange(std::function<void()> onChange) { mOnChange = std::move(onChange); }

    /// Handles a client's create request. @return the status
    std::int32_t create(Client& client, const wire::CreateRequest& request,
                        wire::CreateReply& reply);

    /// The client's stream, or null.
    [[nodiscard]] CaptureStream* find(const Client& client) const;
    /// The oldest stream of a client with this name, or null.
    [[nodiscard]] CaptureStream* find(const std::string& name) const;

    /// The client has disconnected: removes its stream, if any.
    void clientGone(const Client& client);
    /// Notifies the client that its stream is gone, and removes the stream.
    void remove(CaptureStream& stream);
    void removeAll();

    using Streams = std::vector<std::unique_ptr<CaptureStream>>;
    /// Oldest first.
    [[nodiscard]] const Streams& streams() const { return mStreams; }

private:
    CaptureStream::Parts partsOf(Client& client, const wire::CreateRequest& request,
                                 const StreamFormat& format, std::unique_ptr<CaptureRing> ring);
    std::int32_t makeRing(const Client& client, std::uint32_t size,
                          std::unique_ptr<CaptureRing>& ring);
    void erase(const CaptureStream& stream);

    EventLoop& mLoop;
    RingPlaces& mPlaces;
    Settings mSettings;
    std::function<void()> mOnChange;
    Streams mStreams;
};

}  // namespace cabinaudio::server
