// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/StreamRing.h"

#include "devkit/server/base/Text.h"
#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <atomic>
#include <utility>

namespace cabinaudio::server {

StreamRing::StreamRing(RingPlace place, std::size_t frameBytes,
                       ShareMemoryUpdateNotificationCallback* onWrite)
    : ServerRing(std::move(place), SHM_MODE_READER, onWrite), mFrameBytes(frameBytes) {
    if (!isUsable()) return;
    audio_buffer_provider_t view = {};
    ring().getNextBuffer(view);
    mBase = view.data;  // nothing has been read yet
}

StreamRing::View StreamRing::readable() {
    audio_buffer_provider_t view = {};
    ring().getNextBuffer(view);
    if (view.data == nullptr || !damage().empty()) return {mBase, 0};
    return {view.data, view.length / mFrameBytes};
}

void StreamRing::consume(const View& view, std::size_t frames) {
    // The client may have changed the header since; the view was checked, so the offset comes from
    // it.
    const auto offset = static_cast<std::size_t>(view.data - mBase) + frames * mFrameBytes;
    ring().updateReadOffset(static_cast<unsigned>(offset == size() ? 0 : offset));
}

bool StreamRing::notifiesWriter() const {
    return isWriterWaiting() &&
           std::atomic_ref(header().writeNotify).load(std::memory_order_relaxed) != 0;
}

/// The flag is taken back before the post: a writer that sets the flag later sees the space that
/// was freed before, and needs no post.
void StreamRing::wakeWriter() {
    wire::RingHeader& shared = header();
    if (std::atomic_ref(shared.wait).exchange(0, std::memory_order_seq_cst) == 0) return;
    (void)sem_post(semaphoreIn(shared.writeSem));
}

std::string StreamRing::damage() const {
    if (std::string changed = sizeDamage(); !changed.empty()) return changed;
    const unsigned offset = ring().getReadOffset();
    if (offset % mFrameBytes != 0 || offset >= size())
        return format("set its ring's read offset to %u", offset);
    return {};
}

}  // namespace cabinaudio::server
