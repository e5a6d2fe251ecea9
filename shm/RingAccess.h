// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

class ShareMemoryEx;

namespace cabinaudio {

/// Operations of a ring for the stream clients only. Called by the ring's owner, as all others.
struct RingAccess {
    /// For a reader that must know the next bytes before it takes them: copies out as read() does,
    /// but leaves the bytes in the ring and wakes no waiter. @return bytes copied
    static unsigned peek(const ShareMemoryEx& ring, unsigned char* dst, unsigned len);

    /// Whether the ring already maps an object that is announced with this physical address (0:
    /// data behind the header) and size. A server that makes a new object under the old name
    /// announces it with the same numbers; so the name's present object must also be the mapped
    /// one.
    [[nodiscard]] static bool mapsAnnounced(const ShareMemoryEx& ring, std::uint32_t address,
                                            std::uint32_t size);

    /// The ring's destructor will leave the object's name alone.
    static void keepName(ShareMemoryEx& ring);
};

}  // namespace cabinaudio
