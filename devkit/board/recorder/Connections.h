// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/Conversation.h"
#include "devkit/board/recorder/Lock.h"

#include <cstddef>
#include <cstdint>

/// The connections to the server by their descriptors.
namespace cabinaudio::recorder {

/// A place for a connection. It is never freed, but used for another connection later, which the
/// conversation's number shows.
struct Connection {
    Lock lock;
    Conversation conversation;
    bool isUsed;
    bool isInherited;  // from the process that forked this one, and not used here yet
};

/// A connected descriptor. An earlier connection of that number ends.
void addConnection(int descriptor) noexcept;

/// @return null for a descriptor that is no connection to the server, and while nothing is recorded
[[nodiscard]] Connection* findConnection(int descriptor) noexcept;

/// The descriptor will be closed.
void removeConnection(int descriptor) noexcept;

/// The process ends: so do its connections.
void endConnections() noexcept;

/// In the child of a fork.
void inheritConnections() noexcept;

/// Calls `visit(conversation)` with the lock of each connection until it returns true.
template <typename Visit>
void visitConnections(Visit visit) noexcept;

constexpr std::size_t MOST_CONNECTIONS = 256;
extern constinit Connection gConnections[MOST_CONNECTIONS];

template <typename Visit>
void visitConnections(Visit visit) noexcept {
    for (Connection& connection : gConnections) {
        const Hold hold(connection.lock);
        if (hold && connection.isUsed && visit(connection.conversation)) return;
    }
}

}  // namespace cabinaudio::recorder
