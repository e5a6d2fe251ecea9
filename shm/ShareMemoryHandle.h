// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "shm/SharedSemaphore.h"
#include "wire/Ring.h"

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

class ShmUpdateNotificationRecevier;

/// One side's view of a ring. Constant between construction and destruction, but for `older` and
/// `keepsName`.
struct ShareMemoryHandle {
    // For transfers: never null, a header of zeros when nothing is mapped.
    cabinaudio::wire::RingHeader* ring;
    // Largest ring size whose data lies behind the header and needs no cache maintenance, or 0.
    std::size_t plainLimit;

    cabinaudio::wire::RingHeader* hdr;  // null when the mapping failed
    unsigned char* data;                // null when the mapping failed
    std::uint32_t len;                  // ring size given by the caller, the most that is touched
    std::uint32_t phys;                 // physical address of the data, or 0
    std::uint32_t mode;
    shm_type_t type;
    char name[64];
    bool needCache;
    int cacheFd;

    // The shared-memory object that was mapped; no object has the number 0.
    dev_t device;
    ino_t inode;
    bool keepsName;            // the destructor does not remove the object's name
    ShareMemoryHandle* older;  // next in the list of RingNames

    ShmUpdateNotificationRecevier* receiver;
    cabinaudio::sem_t* recevierSem;
    ShareMemoryUpdateNotificationCallback* callback;

    [[nodiscard]] bool hasKnownType() const {
        return type == SHM_TYPE_PHYS_MEM || type == SHM_TYPE_POSIX_SHM;
    }
    [[nodiscard]] bool isMapped() const { return hdr != nullptr && data != nullptr; }
};
