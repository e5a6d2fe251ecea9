// SPDX-License-Identifier: Apache-2.0
// peek() is in RingTransfer.cpp, beside read().
#include "shm/RingAccess.h"

#include <cabinaudio/shm/ShareMemory.h>

#include "shm/Mapping.h"
#include "shm/ShareMemoryHandle.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cabinaudio {
namespace {

bool complete(const ShareMemoryHandle& hdl) {
    return hdl.isMapped() && (!hdl.needCache || hdl.cacheFd >= 0);
}

/// Whether the ring's name still refers to the mapped object, with the length that was mapped.
bool nameIsMapped(const ShareMemoryHandle& hdl) {
    const int fd = shm_open(hdl.name, O_RDWR, 0);
    if (fd < 0) return false;
    struct stat found = {};
    const bool known = fstat(fd, &found) == 0;
    close(fd);
    return known && found.st_ino == hdl.inode && found.st_dev == hdl.device &&
           found.st_size == objectLength(hdl);
}

}  // namespace

bool RingAccess::mapsAnnounced(const ShareMemoryEx& ring, std::uint32_t address,
                               std::uint32_t size) {
    const ShareMemoryHandle& hdl = *ring.mHandle;
    return complete(hdl) && hdl.phys == address && hdl.len == size && nameIsMapped(hdl);
}

void RingAccess::keepName(ShareMemoryEx& ring) {
    ring.mHandle->keepsName = true;
}

}  // namespace cabinaudio
