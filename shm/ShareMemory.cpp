// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMemory.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "foundation/LibraryClock.h"
#include "foundation/Log.h"
#include "shm/RingMapping.h"
#include "shm/RingNames.h"
#include "shm/RingReceiver.h"
#include "shm/ShareMemoryHandle.h"
#include "wire/Ring.h"

#include <cstdint>
#include <cstdio>
#include <new>
#include <type_traits>

using namespace cabinaudio;

namespace {

// Header of an object without a mapping; always all zeros.
constinit wire::RingHeader gNoRing{};

}  // namespace

ShareMemoryEx::ShareMemoryEx(shm_type_t type, const char* name, const unsigned char* addr,
                             unsigned size, unsigned mode,
                             ShareMemoryUpdateNotificationCallback* callback)
    : mHandle(new (AudioNormalMalloc(sizeof(ShareMemoryHandle))) ShareMemoryHandle{}) {
    ShareMemoryHandle* const hdl = mHandle;
    hdl->type = type;
    hdl->len = size;
    hdl->mode = mode;
    // Addresses are 32 bits wide on the board; wider pointers must not be sign-extended.
    hdl->phys = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(addr));
    hdl->callback = callback;
    hdl->cacheFd = -1;
    hdl->needCache = type == SHM_TYPE_PHYS_MEM;
    chosenClock();  // makes the choice of clock; a write only reads it
    if (name == nullptr) name = "";
    if (hdl->phys == 0)
        std::snprintf(hdl->name, sizeof(hdl->name), "%s", name);
    else
        std::snprintf(hdl->name, sizeof(hdl->name), "%s_%p", name,
                      reinterpret_cast<void*>(std::uintptr_t{hdl->phys}));

    if (hdl->hasKnownType()) addRingName(*hdl);
    const bool complete = createShmMap(hdl, name);
    hdl->ring = hdl->isMapped() ? hdl->hdr : &gNoRing;
    hdl->plainLimit = hdl->isMapped() && type == SHM_TYPE_POSIX_SHM ? size : 0;
    if (complete && callback != nullptr) initShmNotificationReceiver(hdl);
}

ShareMemoryEx::~ShareMemoryEx() {
    ShareMemoryHandle* const hdl = mHandle;
    AUDIO_LOGD("delete shared memory name:%s\n", hdl->name);
    if (hdl->receiver != nullptr) uninitShmNotificationReceiver(hdl);
    destroyShmMap(hdl);
    static_assert(std::is_trivially_destructible_v<ShareMemoryHandle>);
    AudioNormalFree(hdl);
}
