// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/Connections.h"

#include <atomic>

namespace cabinaudio::recorder {

constinit Connection gConnections[MOST_CONNECTIONS] = {};

namespace {

constexpr int MOST_DESCRIPTORS = 4096;

// 0: no connection; else one more than the index of the place.
constinit std::atomic<std::uint16_t> gPlaces[MOST_DESCRIPTORS] = {};
constinit Lock gPlacesLock;
constinit std::atomic<bool> gComplained{false};

bool isInTable(int descriptor) noexcept {
    return descriptor >= 0 && descriptor < MOST_DESCRIPTORS;
}

/// Ends the conversation, unless it goes on in the process that this one was forked from.
void release(Connection& connection) noexcept {
    const Hold hold(connection.lock);
    if (!hold) return;
    if (connection.isUsed && !connection.isInherited) connection.conversation.end();
    connection.isUsed = false;
}

/// @return MOST_CONNECTIONS when there is none
std::size_t takePlace() noexcept {
    const Hold hold(gPlacesLock);
    std::size_t place = hold ? 0 : MOST_CONNECTIONS;
    while (place < MOST_CONNECTIONS && gConnections[place].isUsed)
        ++place;
    if (place < MOST_CONNECTIONS) gConnections[place].isUsed = true;
    return place;
}

}  // namespace

void addConnection(int descriptor) noexcept {
    if (!isRecording()) return;
    removeConnection(descriptor);
    const std::size_t place = isInTable(descriptor) ? takePlace() : MOST_CONNECTIONS;
    if (place == MOST_CONNECTIONS) {
        if (!gComplained.exchange(true))
            complain("more connections at once than it records; some are left out");
        return;
    }
    Connection& connection = gConnections[place];
    const Hold hold(connection.lock);
    if (!hold) return;
    const std::uint32_t number = newConnectionNumber();
    connection.isInherited = false;
    connection.isUsed = number != 0;
    if (number == 0) return;
    connection.conversation.begin(number);
    gPlaces[descriptor].store(static_cast<std::uint16_t>(place + 1), std::memory_order_release);
}

Connection* findConnection(int descriptor) noexcept {
    if (!isInTable(descriptor)) return nullptr;
    const std::uint16_t place = gPlaces[descriptor].load(std::memory_order_acquire);
    return place != 0 && isRecording() ? &gConnections[place - 1] : nullptr;
}

void removeConnection(int descriptor) noexcept {
    Connection* const connection = findConnection(descriptor);
    if (connection == nullptr) return;
    gPlaces[descriptor].store(0, std::memory_order_release);
    release(*connection);
}

void endConnections() noexcept {
    for (Connection& connection : gConnections)
        release(connection);
}

void inheritConnections() noexcept {
    gPlacesLock.reset();
    for (Connection& connection : gConnections) {
        connection.lock.reset();
        connection.isInherited = true;
        connection.conversation.forgetSend();
    }
}

}  // namespace cabinaudio::recorder
