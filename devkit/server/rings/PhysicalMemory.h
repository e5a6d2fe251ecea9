// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>

namespace cabinaudio::server {

/// Allocates ranges of the board's physical memory for rings. Not thread-safe.
class PhysicalMemory {
public:
    /// A range, freed by its destructor. The PhysicalMemory must outlive it.
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

    /// Page-aligned, at least `size` bytes, zero-filled. @return empty when there is no room
    [[nodiscard]] std::optional<Range> allocate(std::uint32_t size);

    /// Removes the file that stands for the memory; existing mappings stay usable. Only for the
    /// server, while it has no ring and no other server of this instance can be running.
    static void remove();
    /// Removes the file and creates a new one, before another user can take its name.
    static void take();

private:
    void release(std::uint32_t address);

    std::map<std::uint32_t, std::uint32_t> mUsed;  // address to size, both in whole pages
};

}  // namespace cabinaudio::server
