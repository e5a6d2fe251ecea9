// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/StreamRing.h"

#include "devkit/server/Text.h"

#include <sys/mman.h>

#include <cstdio>
#include <utility>

namespace cabinaudio::server {
namespace {

const unsigned char* asPointer(std::uint32_t address) {
    return reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(address));
}

}  // namespace

StreamRing::StreamRing(const std::string& name, Place place, std::uint32_t size,
                       std::size_t frameBytes, ShareMemoryUpdateNotificationCallback* onWrite)
    : mPlace(std::move(place)),
      mObjectName(objectName(name, mPlace)),
      mSize(size),
      mFrameBytes(frameBytes) {
    // An object that a killed server or client has left would keep its notification flags.
    shm_unlink(("/" + mObjectName).c_str());
    mRing.emplace(mPlace ? SHM_TYPE_PHYS_MEM : SHM_TYPE_POSIX_SHM, name.c_str(),
                  asPointer(address()), mSize, SHM_MODE_CREATOR | SHM_MODE_READER, onWrite);
    if (!mRing->isUsable()) return;
    audio_buffer_provider_t view = {};
    mRing->getNextBuffer(view);
    mBase = view.data;  // nothing has been read yet
}

std::string StreamRing::objectName(const std::string& name, const Place& place) {
    char text[64];  // the library cuts it to this length
    if (place) {
        std::snprintf(text, sizeof text, "%s_0x%x", name.c_str(), place->address());
    } else {
        std::snprintf(text, sizeof text, "%s", name.c_str());
    }
    const std::string object = text;
    const auto start = object.find_first_not_of('/');
    return start == std::string::npos ? std::string() : object.substr(start);
}

std::size_t StreamRing::usedFrames() const {
    return mRing->getUsedSize() / mFrameBytes;
}

StreamRing::View StreamRing::readable() {
    audio_buffer_provider_t view = {};
    mRing->getNextBuffer(view);
    if (view.data == nullptr || !damage().empty()) return {mBase, 0};
    return {view.data, view.length / mFrameBytes};
}

void StreamRing::consume(const View& view, std::size_t frames) {
    // The header may have changed meanwhile; the view is what was checked.
    const auto offset = static_cast<std::size_t>(view.data - mBase) + frames * mFrameBytes;
    mRing->updateReadOffset(static_cast<unsigned>(offset == mSize ? 0 : offset));
}

std::string StreamRing::damage() const {
    const unsigned size = mRing->getTotalSize();
    if (size != mSize) return format("changed its ring's size from %u to %u", mSize, size);
    const unsigned offset = mRing->getReadOffset();
    if (offset % mFrameBytes != 0 || offset >= mSize) {
        return format("set its ring's read offset to %u", offset);
    }
    return {};
}

}  // namespace cabinaudio::server
