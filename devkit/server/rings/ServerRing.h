// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/rings/RingPlaces.h"
#include "devkit/server/rings/RingReceiver.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::server {

/// A stream's ring, seen by its creator. The client maps the same memory and may overwrite it: no
/// access here leaves the mapping, and a client that breaks the rules is detected.
class ServerRing {
public:
    /// False when the memory could not be allocated; then no other function may be called.
    [[nodiscard]] bool isUsable() const { return mIsUsable; }
    [[nodiscard]] bool isPhysical() const { return mPlace.isPhysical(); }
    /// Physical address of the data, 0 for a POSIX ring.
    [[nodiscard]] std::uint32_t address() const { return mPlace.address(); }
    [[nodiscard]] std::uint32_t size() const { return mPlace.size(); }
    /// Bytes queued in the ring.
    [[nodiscard]] std::size_t usedBytes() const { return mRing->getUsedSize(); }

protected:
    /// @param side      SHM_MODE_READER or SHM_MODE_WRITER: the server's side of the ring
    /// @param onUpdate  called on a thread of the ring after each access from the client's side;
    ///                  may be null
    ServerRing(RingPlace place, unsigned side, ShareMemoryUpdateNotificationCallback* onUpdate);
    ~ServerRing() = default;

    [[nodiscard]] ShareMemoryEx& ring() const { return *mRing; }
    [[nodiscard]] wire::RingHeader& header() const { return mPlace.object().header(); }
    /// Describes a changed ring size; empty if unchanged.
    [[nodiscard]] std::string sizeDamage() const;

private:
    [[nodiscard]] bool isOwnObject() const;
    [[nodiscard]] bool startReceiver(unsigned side,
                                     ShareMemoryUpdateNotificationCallback* onUpdate);

    RingPlace mPlace;                            // outlives the ring's mapping
    mutable std::optional<ShareMemoryEx> mRing;  // its getters are not const
    std::optional<RingReceiver> mReceiver;
    bool mIsUsable = false;
};

}  // namespace cabinaudio::server
