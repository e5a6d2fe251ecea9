// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/replay/Waker.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::replay {

/// One end of a stream's ring. A wait for data or space ends the waker's wait.
class Ring : private ShareMemoryUpdateNotificationCallback {
public:
    struct Place {
        std::string name;           // the stream's
        std::uint32_t size = 0;     // bytes
        bool isPhysical = false;    // in physical memory, at the address
        std::uint32_t address = 0;  // unless it is in shared memory by its name
    };

    /// @param mode  SHM_MODE_* bits
    Ring(Waker& waker, const Place& place, unsigned mode);
    ~Ring() override = default;
    Ring(const Ring&) = delete;
    Ring& operator=(const Ring&) = delete;

    [[nodiscard]] bool isUsable() { return mMemory.isUsable(); }
    [[nodiscard]] const Place& place() const { return mPlace; }
    [[nodiscard]] bool isAt(const Place& place) const;

    /// Writes as much as fits. When that is not all, the reader's next read ends the waker's wait.
    std::size_t write(std::span<const std::uint8_t> bytes);
    /// The same with zeros.
    std::size_t writeSilence(std::size_t bytes);
    /// @return bytes that were read; more data ends the waker's wait
    std::size_t read(std::span<std::uint8_t> bytes);

    [[nodiscard]] std::size_t used() { return mMemory.getUsedSize(); }
    /// Whether the other side's writer waits for space.
    [[nodiscard]] bool isWriterWaiting() { return mMemory.getWait(); }
    /// Lets reads of the other side end the waker's wait.
    void awaitReads() { mMemory.setWait(true); }

private:
    void notify() override { mWaker.wake(); }

    Waker& mWaker;
    Place mPlace;
    ShareMemoryEx mMemory;  // last: its thread calls notify()
};

}  // namespace cabinaudio::replay
