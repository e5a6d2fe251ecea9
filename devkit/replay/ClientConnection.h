// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Ring.h"
#include "devkit/replay/Socket.h"
#include "devkit/replay/SoundFeed.h"

#include <deque>
#include <list>
#include <memory>
#include <optional>

namespace cabinaudio::replay {

/// A connection of the replayed application: its socket, what the server has sent, and its ring.
class ClientConnection {
public:
    struct Arrived {
        std::size_t number;  // in the order of arrival
        Bytes message;
    };

    ClientConnection(const Conversation& conversation, std::size_t index, Waker& waker);

    [[nodiscard]] const RecordedConnection& recorded() const { return mRecorded; }

    void connect();
    [[nodiscard]] bool isConnected() const { return mSocket && mSocket->isOpen(); }
    /// The server has closed it.
    [[nodiscard]] bool isLost() const { return mIsLost; }
    void close();
    [[nodiscard]] int fd() const { return mSocket->fd(); }

    /// Sends a recorded message with this client's handle, process and time.
    /// @return false when the server is gone
    [[nodiscard]] bool send(const Step& step, std::chrono::milliseconds bound);
    /// Bytes of the next reply's body; empty: whatever the server sends in one piece.
    void expectReply(std::optional<std::size_t> bodySize) { mExpectedBody = bodySize; }

    /// Takes what has arrived.
    void receive();
    [[nodiscard]] bool hasReply() const { return !mReplies.empty(); }
    /// The next reply; empty when there is none. @param isOver  one that is too short counts, too
    [[nodiscard]] std::optional<Bytes> takeReply(bool isOver);
    [[nodiscard]] std::list<Arrived>& notifications() { return mNotifications; }

    /// What the application does with an answer or a notification: it learns its handle, or maps
    /// its ring.
    void actOnReply(const Step& request, const Bytes& reply);
    void actOnNotification(const Bytes& notification);

    /// The ring's sound up to the next request.
    [[nodiscard]] SoundFeed& feed() { return mFeed; }
    [[nodiscard]] Ring* ring() { return mRing.get(); }
    /// Moves as much sound as the feed and the ring allow. @return bytes that were moved
    std::size_t move();

private:
    void parse();
    void mapRing(const Ring::Place& place);

    const RecordedConnection& mRecorded;
    Waker& mWaker;
    std::optional<Socket> mSocket;
    bool mIsLost = false;
    std::uint32_t mHandle = 0;
    std::optional<std::size_t> mExpectedBody;
    std::deque<Bytes> mReplies;
    std::list<Arrived> mNotifications;
    std::size_t mArrivals = 0;
    SoundFeed mFeed;
    std::unique_ptr<Ring> mRing;
};

}  // namespace cabinaudio::replay
