// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/inputs/InputChoice.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/rings/RingPlaces.h"
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

/// Makes, finds and removes the capture streams. A client has one at most.
class CaptureRegistry {
public:
    struct Settings {
        InputChoice inputs;
        std::uint32_t ringPeriods = 8;
        /// Nothing: uplinks get their rings on command only.
        std::optional<std::chrono::milliseconds> uplinkDelay;
        /// Factor of a channel of what streams of a tag record; null for 1.
        std::function<float(AudioTagType tag, std::size_t channel)> gain;
        /// Told when a client has read from a ring; null for not at all.
        ShareMemoryUpdateNotificationCallback* onRead = nullptr;
    };

    CaptureRegistry(EventLoop& loop, RingPlaces& places, Settings settings);

    /// Called whenever there may be something to be recorded, or nothing any more.
    void setOnChange(std::function<void()> onChange) { mOnChange = std::move(onChange); }

    /// Answers a client's create request. @return the status
    std::int32_t create(Client& client, const wire::CreateRequest& request,
                        wire::CreateReply& reply);

    /// The client's stream, or null.
    [[nodiscard]] CaptureStream* find(const Client& client) const;
    /// The oldest stream of a client of this name, or null.
    [[nodiscard]] CaptureStream* find(const std::string& name) const;

    /// The client has gone: its stream goes too, if it has one.
    void clientGone(const Client& client);
    /// Tells the client that its stream is gone, and removes it.
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
