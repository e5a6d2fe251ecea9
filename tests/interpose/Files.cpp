// SPDX-License-Identifier: Apache-2.0
#include "tests/interpose/Files.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdarg>

namespace cabinaudio::test::platform {

constinit decltype(mmap) mmap{"mmap", "mmap64"};
constinit decltype(munmap) munmap{"munmap"};
constinit decltype(ftruncate) ftruncate{"ftruncate", "ftruncate64"};
constinit decltype(fallocate) fallocate{"fallocate", "fallocate64"};
constinit decltype(fstatvfs) fstatvfs{"fstatvfs", "fstatvfs64"};
constinit decltype(open) open{"open", "open64"};
constinit decltype(ioctl) ioctl{"ioctl"};
constinit decltype(shm_open) shm_open{"shm_open"};
constinit decltype(shm_unlink) shm_unlink{"shm_unlink"};

void* mapBetweenGuards(std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const auto page = static_cast<std::size_t>(getpagesize());
    const std::size_t pages = (length + page - 1) / page * page;
    const std::size_t behind = sizeof(void*) == 8 ? std::size_t{0xffffffff} + 1 : page;
    void* const room = mmap.real(nullptr, page + pages + behind, PROT_NONE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) return room;
    return mmap.real(static_cast<char*>(room) + page, length, protection, flags | MAP_FIXED, fd,
                     offset);
}

}  // namespace cabinaudio::test::platform

namespace platform = cabinaudio::test::platform;

extern "C" {

void* mmap64(void* address, std::size_t length, int protection, int flags, int fd,
             off64_t offset) noexcept {
    return platform::mmap(address, length, protection, flags, fd, offset);
}
void* mmap(void* address, std::size_t length, int protection, int flags, int fd,
           off_t offset) noexcept {
    return platform::mmap(address, length, protection, flags, fd, offset);
}
int munmap(void* address, std::size_t length) noexcept {
    return platform::munmap(address, length);
}

int ftruncate64(int fd, off64_t length) noexcept {
    return platform::ftruncate(fd, length);
}
int ftruncate(int fd, off_t length) noexcept {
    return platform::ftruncate(fd, length);
}
int fallocate64(int fd, int mode, off64_t offset, off64_t length) {
    return platform::fallocate(fd, mode, offset, length);
}
int fallocate(int fd, int mode, off_t offset, off_t length) {
    return platform::fallocate(fd, mode, offset, length);
}
int fstatvfs64(int fd, struct statvfs64* system) noexcept {
    return platform::fstatvfs(fd, system);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t rights = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return platform::open(path, flags, rights);
}
int open(const char* path, int flags, ...) __attribute__((alias("open64")));

int shm_open(const char* name, int flags, mode_t rights) {
    return platform::shm_open(name, flags, rights);
}
int shm_unlink(const char* name) {
    return platform::shm_unlink(name);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return platform::ioctl(fd, request, argument);
}
// A 32-bit library built with 64-bit times calls this one instead.
int __ioctl_time64(int fd, unsigned long request, ...) noexcept __attribute__((alias("ioctl")));
}
