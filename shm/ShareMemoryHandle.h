// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "shm/ConstantMutex.h"
#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

class ShmUpdateNotificationRecevier;

namespace cabinaudio {

/// Lock of the list of ring names; see RingNames.h.
CABINAUDIO_LOCAL extern ConstantMutex gRingNamesLock;

}  // namespace cabinaudio

/// One side's view of a ring.
struct ShareMemoryHandle {
    // Set at construction. For transfers: never null; points to a header of zeros when nothing is
    // mapped.
    cabinaudio::wire::RingHeader* ring;
    // Largest ring size whose data lies behind the header and needs no cache maintenance, or 0.
    std::size_t plainLimit;

    cabinaudio::wire::RingHeader* hdr;  // null when the mapping failed
    unsigned char* data;                // null when the mapping failed
    std::uint32_t len;                  // ring size given by the caller; the limit of all accesses
    std::uint32_t phys;                 // physical address of the data, or 0
    std::uint32_t mode;
    shm_type_t type;
    char name[64];
    bool needCache;
    int cacheFd;

    // The shared-memory object that was mapped; no object has the number 0.
    dev_t device;
    ino_t inode;

    ShmUpdateNotificationRecevier* receiver;
    cabinaudio::sem_t* recevierSem;
    ShareMemoryUpdateNotificationCallback* callback;

    // Used only by the owner: set before destruction, read by it.
    bool keepsName;  // the destructor does not remove the object's name

    // Guarded by the lock of the list.
    ShareMemoryHandle* older CABINAUDIO_GUARDED_BY(cabinaudio::gRingNamesLock);  // next in the list

    [[nodiscard]] bool hasKnownType() const {
        return type == SHM_TYPE_PHYS_MEM || type == SHM_TYPE_POSIX_SHM;
    }
    [[nodiscard]] bool isMapped() const { return hdr != nullptr && data != nullptr; }
};
