// SPDX-License-Identifier: Apache-2.0
#include "shm/RingMapping.h"

#include "shm/Mapping.h"
#include "shm/RingCore.h"
#include "shm/RingLog.h"
#include "shm/RingNames.h"
#include "shm/ShareMemoryHandle.h"
#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>

namespace cabinaudio {
namespace {

using wire::RingHeader;

constexpr const char* CACHE_DEVICE = "/dev/cache";

/// Sets the object's length. Deliberate: both sides set it, and the last one takes effect.
/// @param text  of the condition in the log
void setLength(int fd, off_t length, const char* function, const char* text) {
    ignoreUnless(ftruncate(fd, length) == 0, function, text);
}

/// Data in physical memory, header in an object of its own.
bool mapPhysicalRing(ShareMemoryHandle* hdl, const LogSite& site) {
    if (!mapPhysicalMemory(hdl, site)) return false;
    const int fd = openObject(hdl, site);
    if (fd < 0) return false;
    setLength(fd, objectLength(*hdl), site.function, "0==ftruncate(fd, sizeof(*hdl->hdr))");
    return mapHeader(hdl, fd, objectLength(*hdl), site);
}

/// Header and data in one object.
bool mapObjectRing(ShareMemoryHandle* hdl, const LogSite& site) {
    const int fd = openObject(hdl, site);
    if (fd < 0) return false;
    setLength(fd, objectLength(*hdl), site.function, "0==ftruncate(fd, len)");
    if (!mapHeader(hdl, fd, objectLength(*hdl), site)) return false;
    hdl->data = reinterpret_cast<unsigned char*>(hdl->hdr + 1);
    return true;
}

void openEmpty(RingHeader& ring, std::uint32_t size) {
    storeRelaxed<std::uint32_t>(ring.readOffset, 0);
    storeRelaxed<std::uint32_t>(ring.writeOffset, 0);
    storeRelaxed<std::uint64_t>(ring.updateTime, 0);
    storeRelaxed<std::uint8_t>(ring.wait, 0);
    // Last: without a size the ring has neither data nor space.
    storeRelease(ring.size, size);
}

void initHeader(RingHeader& ring, std::uint32_t size, const char* function) {
    sem_t* const readSem = semaphoreIn(ring.readSem);
    sem_t* const writeSem = semaphoreIn(ring.writeSem);
    ignoreUnless(sem_init(readSem, 1, 0) == 0, function,
                 "0==sem_init((sem_t *)&hdl->hdr->readSem, 1, 0)");
    ignoreUnless(sem_init(writeSem, 1, 0) == 0, function,
                 "0==sem_init((sem_t *)&hdl->hdr->writeSem, 1, 0)");
    // The other side may have mapped first and already be waiting; the new semaphores do not count
    // it.
    semaphoreWakeSleepers(readSem);
    semaphoreWakeSleepers(writeSem);
    openEmpty(ring, size);
}

void destroySemaphores(RingHeader& ring, const char* function) {
    ignoreUnless(sem_destroy(semaphoreIn(ring.readSem)) == 0, function,
                 "0==sem_destroy((sem_t *)&hdl->hdr->readSem)");
    ignoreUnless(sem_destroy(semaphoreIn(ring.writeSem)) == 0, function,
                 "0==sem_destroy((sem_t *)&hdl->hdr->writeSem)");
}

}  // namespace

bool createShmMap(ShareMemoryHandle* hdl, const char* name) {
    const LogSite site = ringSite(__func__);
    if (!hdl->hasKnownType()) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid type:%d\n", static_cast<int>(hdl->type));
        return false;
    }
    const bool physical = hdl->type == SHM_TYPE_PHYS_MEM;
    if (!(physical ? mapPhysicalRing(hdl, site) : mapObjectRing(hdl, site))) return false;
    if ((hdl->mode & SHM_MODE_CREATOR) != 0) initHeader(*hdl->hdr, hdl->len, site.function);
    if (hdl->needCache) {
        hdl->cacheFd = open(CACHE_DEVICE, O_RDWR | O_CLOEXEC);
        if (hdl->cacheFd < 0) {
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "open %s failed\n", CACHE_DEVICE);
            return false;
        }
    }
    AUDIO_LOG_AT(ANDROID_LOG_INFO, site,
                 "[%s] shared memory mmap success: virAddr:%p size:%d virAddrEnd:%p\n", name,
                 static_cast<void*>(hdl->data), static_cast<int>(hdl->len),
                 static_cast<void*>(hdl->data + hdl->len));
    return true;
}

void destroyShmMap(ShareMemoryHandle* hdl) {
    const LogSite site = ringSite(__func__);
    if (!hdl->hasKnownType()) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid type:%u\n",
                     static_cast<unsigned>(hdl->type));
        return;
    }
    if (hdl->type == SHM_TYPE_PHYS_MEM && hdl->data != nullptr) unmapPhysicalMemory(hdl, site);
    if (hdl->hdr != nullptr) {
        if ((hdl->mode & SHM_MODE_CREATOR) != 0 && hdl->callback != nullptr)
            destroySemaphores(*hdl->hdr, site.function);
        unmapHeader(hdl, site);
    }
    if (hdl->cacheFd >= 0) close(hdl->cacheFd);
    ignoreUnless(dropRingName(*hdl), site.function, "0==shm_unlink(hdl->name)");
}

}  // namespace cabinaudio
