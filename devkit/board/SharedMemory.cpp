// SPDX-License-Identifier: Apache-2.0
// Shared-memory objects. The C library opens them internally, so wrapping open() would not catch
// them.
#include "devkit/board/Export.h"
#include "devkit/board/Instance.h"
#include "devkit/board/Libc.h"
#include "devkit/board/Names.h"

#include <sys/mman.h>

namespace cabinaudio::board {
namespace {

template <typename UseName>
int useName(const char* name, UseName use) noexcept {
    if (name == nullptr) return use(name);
    const char* instance = instanceOrRefuse();
    if (instance == nullptr) return -1;
    if (instance[0] == '\0') return use(name);
    NameText mapped;
    return sharedMemoryName(instance, name, mapped) ? use(mapped.c_str()) : -1;
}

}  // namespace
}  // namespace cabinaudio::board

using namespace cabinaudio::board;

extern "C" {

BOARD_EXPORT int shm_open(const char* name, int flags, mode_t mode) {
    return useName(name, [&](const char* used) { return libc::shmOpen.find()(used, flags, mode); });
}

BOARD_EXPORT int shm_unlink(const char* name) {
    return useName(name, [&](const char* used) { return libc::shmUnlink.find()(used); });
}
}
