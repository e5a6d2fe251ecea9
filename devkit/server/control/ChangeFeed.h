// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>

namespace cabinaudio::server {

/// Sends a document, and then each of its changes, to subscribers. A subscriber is a control
/// connection; it gets lines of JSON:
///
///     {"time": "2026-11-22T19:01:02.345+00:00", "document": {...}}      the first one
///     {"time": "...", "patch": [{"op": "replace", "path": "/settings/volume/master_db", ...}]}
///     {"time": "...", "error": "..."}                                   the last one, if it must
///     go
///
/// A patch is a JSON Patch (RFC 6902). Every change gets a line, in order. A subscriber that does
/// not read is dropped.
class ChangeFeed {
public:
    /// Bytes that may wait for one subscriber, besides those in its socket.
    static constexpr std::size_t LONGEST_QUEUE = 1 << 20;
    /// Time to read the last line.
    static constexpr std::chrono::seconds PATIENCE{10};

    using Document = std::function<nlohmann::json()>;

    /// @param document  makes the present document
    /// @param onGone    called when a descriptor has become free
    ChangeFeed(EventLoop& loop, Document document, std::function<void()> onGone);
    ~ChangeFeed();
    ChangeFeed(const ChangeFeed&) = delete;
    ChangeFeed& operator=(const ChangeFeed&) = delete;

    /// Takes a connection, and sends the document.
    void add(UniqueFd& socket, Admitted& admitted);

    /// Call after each change. Costs nothing without subscribers.
    void changed();

private:
    struct Subscriber {
        UniqueFd socket;
        Admitted admitted;
        std::string output;      // not taken by the other side yet
        bool isDropped = false;  // gets nothing more
        bool awaitsRoom = false;
    };

    void put(Subscriber& subscriber, const std::string& line);
    void drop(Subscriber& subscriber);
    /// @return false when the connection has ended
    [[nodiscard]] static bool send(Subscriber& subscriber);
    [[nodiscard]] static bool isOpen(const Subscriber& subscriber);
    void watch(Subscriber& subscriber);
    void listenTo(const Subscriber& subscriber);
    void handle(int fd, std::uint32_t events);
    void close(int fd);
    void closeDropped();

    EventLoop& mLoop;
    const Document mDocument;
    const std::function<void()> mOnGone;
    std::map<int, Subscriber> mSubscribers;
    nlohmann::json mLast;  // as the subscribers know it
    Timer mPatience;       // of dropped subscribers
};

}  // namespace cabinaudio::server
