// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>

namespace cabinaudio::server {

/// Hands out ranges of the board's physical memory for rings. Not thread-safe.
class PhysicalMemory {
public:
    /// A range that is given back when its owner is destroyed. The memory must outlive it.
    class Range {
    public:
        Range(Range&& other) noexcept;
        Range& operator=(Range&& other) noexcept;
        ~Range();

        [[nodiscard]] std::uint32_t address() const { return mAddress; }

    private:
        friend class PhysicalMemory;
        Range(PhysicalMemory& memory, std::uint32_t address)
            : mMemory(&memory), mAddress(address) {}

        PhysicalMemory* mMemory;
        std::uint32_t mAddress;
    };

    /// Page-aligned, at least `size` bytes, zero-filled. @return nothing when there is no room
    [[nodiscard]] std::optional<Range> allocate(std::uint32_t size);

    /// Removes the file that stands for the memory; what still is mapped stays usable. For the
    /// server only, while it has no ring and nobody else can be the server of this instance.
    static void remove();
    /// The same, and makes a new one, before another user can take the file's name.
    static void take();

private:
    void release(std::uint32_t address);

    std::map<std::uint32_t, std::uint32_t> mUsed;  // address to size, both in whole pages
};

}  // namespace cabinaudio::server
