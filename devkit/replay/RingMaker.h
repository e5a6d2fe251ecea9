// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Ring.h"

#include <cstdint>
#include <memory>
#include <string>

namespace cabinaudio::replay {

/// Makes the server's ends of rings.
class RingMaker {
public:
    /// @param hasInstance  names in shared memory are this instance's own: objects that are left
    ///                     from before may be removed
    RingMaker(Waker& waker, bool hasInstance) : mWaker(waker), mHasInstance(hasInstance) {}

    /// Removes the file that stands for the physical memory, if there was a ring in it.
    ~RingMaker();
    RingMaker(const RingMaker&) = delete;
    RingMaker& operator=(const RingMaker&) = delete;

    /// A ring of a stream of this name.
    /// @param mode  SHM_MODE_* bits of the server's end
    /// @throws Error  its memory cannot be had
    [[nodiscard]] std::unique_ptr<Ring> inSharedMemory(const std::string& name, std::uint32_t size,
                                                       unsigned mode);
    [[nodiscard]] std::unique_ptr<Ring> inPhysicalMemory(const std::string& name,
                                                         std::uint32_t size, unsigned mode);

private:
    void claim(const std::string& object) const;
    [[nodiscard]] std::unique_ptr<Ring> make(const Ring::Place& place, unsigned mode);

    Waker& mWaker;
    bool mHasInstance;
    bool mHasMemory = false;
    std::uint32_t mNextAddress = 0x40000000;  // below are devices
};

}  // namespace cabinaudio::replay
