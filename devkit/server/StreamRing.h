// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/server/PhysicalMemory.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::server {

/// The ring of a playback stream, seen as whole frames by its creator and reader. The client maps
/// the same memory and may scribble into it: nothing here leaves the mapping, and a client that
/// breaks the rules is found out.
class StreamRing {
public:
    /// Frames that lie in one piece, in the client's memory: another look may show other bytes.
    struct View {
        const std::uint8_t* data;
        std::size_t frames;
    };

    /// Where the data lies: in a physical range, or behind the header in a POSIX object.
    using Place = std::optional<PhysicalMemory::Range>;

    /// @param name      as the client gave it; it finds the header's object under objectName()
    /// @param size      bytes, a multiple of the frame
    /// @param onWrite   told on a thread of the ring whenever the client has written; may be null
    StreamRing(const std::string& name, Place place, std::uint32_t size, std::size_t frameBytes,
               ShareMemoryUpdateNotificationCallback* onWrite);

    /// False when the memory could not be had; nothing else may be called then.
    [[nodiscard]] bool isUsable() const { return mBase != nullptr; }
    [[nodiscard]] bool isPhysical() const { return mPlace.has_value(); }
    /// Physical address of the data, 0 for a POSIX ring.
    [[nodiscard]] std::uint32_t address() const { return mPlace ? mPlace->address() : 0; }
    [[nodiscard]] std::uint32_t size() const { return mSize; }
    /// Frames that wait in the ring.
    [[nodiscard]] std::size_t usedFrames() const;

    [[nodiscard]] View readable();
    /// Frees the first `frames` of `view` for the client and wakes it if it waits.
    void consume(const View& view, std::size_t frames);

    /// What the client has done to the ring's header that no client does; empty if nothing.
    [[nodiscard]] std::string damage() const;

    /// Name of the shared-memory object of such a ring, without leading slashes. Two rings with one
    /// object name would destroy each other.
    [[nodiscard]] static std::string objectName(const std::string& name, const Place& place);
    [[nodiscard]] const std::string& objectName() const { return mObjectName; }

private:
    Place mPlace;  // outlives the mapping of it
    std::string mObjectName;
    std::uint32_t mSize;
    std::size_t mFrameBytes;
    std::optional<ShareMemoryEx> mRing;
    const std::uint8_t* mBase = nullptr;
};

}  // namespace cabinaudio::server
