// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/ServerRing.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"

#include <system_error>
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
    // No callback, and so no library receiver: a client that truncates the memory could keep that
    // thread waiting forever.
    mRing.emplace(isPhysical() ? SHM_TYPE_PHYS_MEM : SHM_TYPE_POSIX_SHM, mPlace.name().c_str(),
                  asPointer(address()), size(), SHM_MODE_CREATOR | side, nullptr);
    mIsUsable = mRing->isUsable() && isOwnObject() && startReceiver(side, onUpdate);
}

/// The library opened the object by name, so compare it with the object that was made.
bool ServerRing::isOwnObject() const {
    const bool isOwn = mPlace.object().isNamed();
    if (!isOwn)
        log::warning("ring \"%s\": another object has come under its name",
                     printable(mPlace.name()).c_str());
    return isOwn;
}

bool ServerRing::startReceiver(unsigned side, ShareMemoryUpdateNotificationCallback* onUpdate) {
    if (onUpdate == nullptr) return true;
    try {
        mReceiver.emplace(mPlace.object().header(), side, *onUpdate);
        return true;
    } catch (const std::system_error& error) {
        log::warning("ring \"%s\": no thread for it: %s", printable(mPlace.name()).c_str(),
                     error.what());
        return false;
    }
}

std::string ServerRing::sizeDamage() const {
    const unsigned now = mRing->getTotalSize();
    return now == size() ? "" : format("changed its ring's size from %u to %u", size(), now);
}

}  // namespace cabinaudio::server
