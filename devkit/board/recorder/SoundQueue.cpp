// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/SoundQueue.h"

#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Memory.h"

#include <sys/mman.h>

#include <algorithm>

namespace cabinaudio::recorder {

namespace {

constexpr std::size_t ROOM = trace::MAXIMUM_SOUND;

}  // namespace

void SoundQueue::open() noexcept {
    mBegin = 0;
    mEnd = 0;
    void* const made = libc::mmap64.find()(nullptr, SIZE + ROOM, PROT_READ | PROT_WRITE,
                                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    mBytes = made != MAP_FAILED ? static_cast<std::uint8_t*>(made) : nullptr;
}

void SoundQueue::close() noexcept {
    if (mBytes != nullptr) libc::munmap.find()(mBytes, SIZE + ROOM);
    mBytes = nullptr;
}

void SoundQueue::add(std::uint64_t position, Piece first, Piece second) noexcept {
    const std::uint64_t end = position + first.count + second.count;
    if (mBytes == nullptr || end <= mEnd) return;
    if (position > mEnd) {
        if (mBegin != mEnd) return;
        mBegin = position;
        mEnd = position;
    }
    auto known = static_cast<std::uint32_t>(mEnd - position);
    for (const Piece& piece : {first, second}) {
        const std::uint32_t skipped = std::min(known, piece.count);
        known -= skipped;
        const std::uint64_t room = SIZE - (mEnd - mBegin);
        append(piece.bytes + skipped,
               static_cast<std::uint32_t>(std::min<std::uint64_t>(piece.count - skipped, room)));
    }
}

void SoundQueue::append(const std::uint8_t* bytes, std::uint32_t count) noexcept {
    const auto offset = static_cast<std::uint32_t>(mEnd % SIZE);
    const std::uint32_t first = std::min(count, SIZE - offset);
    copyBytes(mBytes + offset, bytes, first);
    copyBytes(mBytes, bytes + first, count - first);
    mEnd += count;
}

SoundQueue::Taken SoundQueue::take() noexcept {
    const auto offset = static_cast<std::uint32_t>(mBegin % SIZE);
    const auto count =
        static_cast<std::uint32_t>(std::min<std::uint64_t>({mEnd - mBegin, ROOM, SIZE - offset}));
    std::uint8_t* const room = mBytes + SIZE;
    if (count != 0) copyBytes(room, mBytes + offset, count);
    const Taken taken = {mBegin, room, count};
    mBegin += count;
    return taken;
}

}  // namespace cabinaudio::recorder
