// SPDX-License-Identifier: Apache-2.0
#include "shm/RingNames.h"

#include "shm/ShareMemoryHandle.h"

#include <sys/mman.h>

#include <cstring>

namespace cabinaudio {

constinit ConstantMutex gRingNamesLock;

namespace {

constinit ShareMemoryHandle* gYoungest CABINAUDIO_GUARDED_BY(gRingNamesLock) = nullptr;

bool sameNameAndSide(const ShareMemoryHandle& one, const ShareMemoryHandle& other) {
    return ((one.mode ^ other.mode) & SHM_MODE_CREATOR) == 0 &&
           std::strcmp(one.name, other.name) == 0;
}

/// Takes the ring out of the list. @return whether a younger ring uses its name
bool leaveList(ShareMemoryHandle& hdl) CABINAUDIO_REQUIRES(gRingNamesLock) {
    bool used = false;
    ShareMemoryHandle** link = &gYoungest;
    for (; *link != &hdl; link = &(*link)->older)
        used = used || sameNameAndSide(**link, hdl);
    *link = hdl.older;
    return used;
}

}  // namespace

void addRingName(ShareMemoryHandle& hdl) {
    const ConstantMutex::AutoLock lock(gRingNamesLock);
    hdl.older = gYoungest;
    gYoungest = &hdl;
}

bool dropRingName(ShareMemoryHandle& hdl) {
    // The name is removed under the lock, so a ring that is added later also opens its object
    // later.
    const ConstantMutex::AutoLock lock(gRingNamesLock);
    const bool used = leaveList(hdl);
    return used || hdl.keepsName || shm_unlink(hdl.name) == 0;
}

}  // namespace cabinaudio
