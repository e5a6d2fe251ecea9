// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Ring.h"

#include <algorithm>
#include <array>

namespace cabinaudio::replay {

namespace {

const unsigned char* pointerTo(std::uint32_t address) {
    return reinterpret_cast<const unsigned char*>(std::uintptr_t{address});
}

}  // namespace

Ring::Ring(Waker& waker, const Place& place, unsigned mode)
    : mWaker(waker),
      mPlace(place),
      mMemory(place.isPhysical ? SHM_TYPE_PHYS_MEM : SHM_TYPE_POSIX_SHM, place.name.c_str(),
              place.isPhysical ? pointerTo(place.address) : nullptr, place.size, mode, this) {}

bool Ring::isAt(const Place& place) const {
    return place.isPhysical == mPlace.isPhysical && place.address == mPlace.address &&
           place.size == mPlace.size;
}

std::size_t Ring::write(std::span<const std::uint8_t> bytes) {
    std::size_t done = 0;
    const auto writeMore = [&] {
        const int count =
            mMemory.write(bytes.data() + done, static_cast<unsigned>(bytes.size() - done));
        done += static_cast<std::size_t>(std::max(count, 0));
    };
    writeMore();
    if (done == bytes.size()) {
        mMemory.setWait(false);
        return done;
    }
    // The reader looks at the flag after it has made space.
    mMemory.setWait(true);
    writeMore();
    return done;
}

std::size_t Ring::writeSilence(std::size_t bytes) {
    static constexpr std::array<std::uint8_t, 4096> SILENCE{};
    std::size_t done = 0;
    while (done < bytes) {
        const std::size_t piece = std::min(bytes - done, SILENCE.size());
        const std::size_t count = write({SILENCE.data(), piece});
        done += count;
        if (count < piece) break;
    }
    return done;
}

std::size_t Ring::read(std::span<std::uint8_t> bytes) {
    const int count = mMemory.read(bytes.data(), static_cast<unsigned>(bytes.size()));
    return static_cast<std::size_t>(std::max(count, 0));
}

}  // namespace cabinaudio::replay
