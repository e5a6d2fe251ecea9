// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/ServerRing.h"

#include "devkit/server/Text.h"

#include <sys/mman.h>

#include <utility>

namespace cabinaudio::server {
namespace {

const unsigned char* asPointer(std::uint32_t address) {
    return reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(address));
}

}  // namespace

ServerRing::ServerRing(RingPlace place, unsigned side,
                       ShareMemoryUpdateNotificationCallback* onUpdate)
    : mPlace(std::move(place)) {
    // An object that a killed server or client has left would keep its notification flags.
    shm_unlink(("/" + mPlace.objectName()).c_str());
    mRing.emplace(isPhysical() ? SHM_TYPE_PHYS_MEM : SHM_TYPE_POSIX_SHM, mPlace.name().c_str(),
                  asPointer(address()), size(), SHM_MODE_CREATOR | side, onUpdate);
}

std::string ServerRing::sizeDamage() const {
    const unsigned now = mRing->getTotalSize();
    return now == size() ? "" : format("changed its ring's size from %u to %u", size(), now);
}

}  // namespace cabinaudio::server
