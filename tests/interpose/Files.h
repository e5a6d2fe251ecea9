// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Interposed.h"

#include <sys/statvfs.h>
#include <sys/types.h>

#include <cstddef>

/// Files and memory maps. Functions that exist for two widths of offsets or times have one hook.
namespace cabinaudio::test::platform {

extern Interposed<void*(void*, std::size_t, int protection, int flags, int fd, off64_t)> mmap;
extern Interposed<int(void*, std::size_t)> munmap;
extern Interposed<int(int fd, off64_t length)> ftruncate;
extern Interposed<int(int fd, int mode, off64_t offset, off64_t length)> fallocate;
extern Interposed<int(int fd, struct statvfs64*)> fstatvfs;
extern Interposed<int(const char* path, int flags, mode_t)> open;
extern Interposed<int(int fd, unsigned long request, void*)> ioctl;
extern Interposed<int(const char* name, int flags, mode_t)> shm_open;
extern Interposed<int(const char* name)> shm_unlink;

/// Maps between pages that are not accessible: one before and, where addresses are plentiful, 4 GiB
/// behind. They stay reserved for the process's life when the mapping goes.
void* mapBetweenGuards(std::size_t length, int protection, int flags, int fd, off64_t offset);

}  // namespace cabinaudio::test::platform
