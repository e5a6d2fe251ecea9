// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/mix/StreamRecord.h"
#include "devkit/server/rings/RingPlaces.h"
#include "devkit/server/rings/RingWatcher.h"
#include "devkit/server/streams/PlaybackStream.h"
#include "devkit/server/streams/SourceRouting.h"
#include "wire/Stream.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Creates, finds and removes the playback streams. Each client has at most one.
class StreamRegistry {
public:
    struct Settings {
        std::uint32_t ringPeriods = 8;
        std::chrono::milliseconds ringDelay{0};
        /// Directory for files with each stream's frames; empty for none.
        std::string stemDirectory;
        /// Whether records() keeps the records of removed streams.
        bool keepsRecords = false;
        std::uint32_t outputRate = 48000;
        unsigned outputChannels = 2;
        /// The next frame of the output; null means 0.
        std::function<std::uint64_t()> outputFrame;
        /// Called when a client has written into a ring; may be null.
        ShareMemoryUpdateNotificationCallback* onWrite = nullptr;
        /// Sees what streams read from their rings; may be null.
        RingWatcher* watcher = nullptr;
    };

    StreamRegistry(EventLoop& loop, RingPlaces& places, Settings settings);

    /// Called whenever playback may have become possible or impossible.
    void setOnChange(std::function<void()> onChange) { mOnChange = std::move(onChange); }

    /// Handles a client's create request. @return the status
    std::int32_t create(Client& client, const wire::CreateRequest& request,
                        wire::CreateReply& reply);

    /// The client's stream, or null.
    [[nodiscard]] PlaybackStream* find(const Client& client) const;
    /// The oldest stream of a client with this name, or null.
    [[nodiscard]] PlaybackStream* find(const std::string& name) const;

    /// The oldest sink of a client with this name, or null.
    [[nodiscard]] PlaybackStream* findSink(const std::string& name) const;
    [[nodiscard]] SourceRouting& sources() { return mSources; }
    [[nodiscard]] const SourceRouting& sources() const { return mSources; }

    /// The client has disconnected: removes its stream, if any.
    void clientGone(const Client& client);
    /// Notifies the client that its stream is gone, and removes the stream.
    void remove(PlaybackStream& stream);
    void removeAll();

    using Streams = std::vector<std::unique_ptr<PlaybackStream>>;
    /// Oldest first.
    [[nodiscard]] const Streams& streams() const { return mStreams; }
    [[nodiscard]] const std::vector<std::shared_ptr<StreamRecord>>& records() const {
        return mRecords;
    }

private:
    std::int32_t makeRing(const Client& client, std::uint32_t size, std::size_t frameBytes,
                          std::unique_ptr<StreamRing>& ring);
    void add(Client& client, const wire::CreateRequest& request, const StreamFormat& format,
             std::unique_ptr<StreamRing> ring);
    void offerRing(PlaybackStream& stream);
    std::unique_ptr<WavFile> makeStem(StreamRecord& record);
    void erase(const PlaybackStream& stream);

    EventLoop& mLoop;
    Settings mSettings;
    std::function<void()> mOnChange;
    RingPlaces& mPlaces;
    SourceRouting mSources;
    Streams mStreams;
    std::vector<std::shared_ptr<StreamRecord>> mRecords;
    std::set<std::string> mStemNames;
};

}  // namespace cabinaudio::server
