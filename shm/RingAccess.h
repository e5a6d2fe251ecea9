// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

class ShareMemoryEx;

namespace cabinaudio {

/// Operations of a ring for the stream clients only. Called by the ring's owner, like all others.
struct RingAccess {
    /// For a reader that must inspect the next bytes before it takes them: copies out like read(),
    /// but leaves the bytes in the ring and wakes no waiter. @return bytes copied
    static unsigned peek(const ShareMemoryEx& ring, unsigned char* dst, unsigned len);

    /// Whether the ring already maps an object that is announced with this physical address (0:
    /// data behind the header) and size. A server that creates a new object under the old name
    /// announces it with the same numbers, so the object that the name refers to must also be the
    /// mapped one.
    [[nodiscard]] static bool mapsAnnounced(const ShareMemoryEx& ring, std::uint32_t address,
                                            std::uint32_t size);

    /// Makes the ring's destructor keep the object's name.
    static void keepName(ShareMemoryEx& ring);
};

}  // namespace cabinaudio
