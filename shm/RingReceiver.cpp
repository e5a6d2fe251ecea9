// SPDX-License-Identifier: Apache-2.0
#include "shm/RingReceiver.h"

#include "shm/RingCore.h"
#include "shm/RingLog.h"
#include "shm/ShareMemoryHandle.h"
#include "shm/SharedSemaphore.h"
#include "shm/ShmUpdateNotificationRecevier.h"

#include <cstdint>
#include <new>

namespace cabinaudio {
namespace {

// A receiver that has not ended is woken again after this time.
constexpr long RECEIVER_WAKE_INTERVAL_MS = 10;

void postFor(ShareMemoryHandle* hdl, const char* function) {
    ignoreUnless(sem_post(hdl->recevierSem) == 0, function, "!sem_post(hdl->recevierSem)");
}

}  // namespace

void initShmNotificationReceiver(ShareMemoryHandle* hdl) {
    if ((hdl->mode & SHM_MODE_READER) != 0) {
        hdl->recevierSem = semaphoreIn(hdl->hdr->readSem);
        storeRelaxed<std::uint8_t>(hdl->hdr->readNotify, 1);
    } else if ((hdl->mode & SHM_MODE_WRITER) != 0) {
        hdl->recevierSem = semaphoreIn(hdl->hdr->writeSem);
        storeRelaxed<std::uint8_t>(hdl->hdr->writeNotify, 1);
    } else {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, ringSite(__func__), "invalid mode:0x%x\n", hdl->mode);
        return;
    }
    semaphoreShare(hdl->recevierSem);
    hdl->receiver = new (std::nothrow)
        ShmUpdateNotificationRecevier(hdl->name, hdl->recevierSem, hdl->callback);
    if (hdl->receiver != nullptr) hdl->receiver->launch();
}

void uninitShmNotificationReceiver(ShareMemoryHandle* hdl) {
    ShmUpdateNotificationRecevier* const receiver = hdl->receiver;
    receiver->prepareStop();
    postFor(hdl, __func__);
    if (receiver->isCaller()) {
        // Called from notify(): join() logs that. The body needs the object until it returns.
        receiver->join();
        receiver->leaveToBody();
        return;
    }
    // The other side may have initialised the semaphore while the receiver waits on it, so that no
    // post reaches the receiver, or may have taken the post.
    semaphoreWakeSleepers(hdl->recevierSem);
    while (!receiver->waitForBodyEnd(RECEIVER_WAKE_INTERVAL_MS)) {
        if (!semaphoreHasPost(hdl->recevierSem)) postFor(hdl, __func__);
        semaphoreWakeSleepers(hdl->recevierSem);
    }
    receiver->join();
    delete receiver;
}

}  // namespace cabinaudio
