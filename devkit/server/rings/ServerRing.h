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

/// A ring of a stream, seen by its creator. The client maps the same memory and may scribble into
/// it: nothing here leaves the mapping, and a client that breaks the rules is found out.
class ServerRing {
public:
    /// False when the memory could not be had; nothing else may be called then.
    [[nodiscard]] bool isUsable() const { return mIsUsable; }
    [[nodiscard]] bool isPhysical() const { return mPlace.isPhysical(); }
    /// Physical address of the data, 0 for a POSIX ring.
    [[nodiscard]] std::uint32_t address() const { return mPlace.address(); }
    [[nodiscard]] std::uint32_t size() const { return mPlace.size(); }
    /// Bytes that wait in the ring.
    [[nodiscard]] std::size_t usedBytes() const { return mRing->getUsedSize(); }

protected:
    /// @param side      SHM_MODE_READER or SHM_MODE_WRITER: what the server does with the ring
    /// @param onUpdate  told on a thread of the ring whenever the client has done the other; may be
    ///                  null
    ServerRing(RingPlace place, unsigned side, ShareMemoryUpdateNotificationCallback* onUpdate);
    ~ServerRing() = default;

    [[nodiscard]] ShareMemoryEx& ring() const { return *mRing; }
    /// Whether the client has changed the ring's size; says how, empty if not.
    [[nodiscard]] std::string sizeDamage() const;

private:
    [[nodiscard]] bool isOwnObject() const;
    [[nodiscard]] bool startReceiver(unsigned side,
                                     ShareMemoryUpdateNotificationCallback* onUpdate);

    RingPlace mPlace;                            // outlives the mapping of it
    mutable std::optional<ShareMemoryEx> mRing;  // its getters are not const
    std::optional<RingReceiver> mReceiver;
    bool mIsUsable = false;
};

}  // namespace cabinaudio::server
