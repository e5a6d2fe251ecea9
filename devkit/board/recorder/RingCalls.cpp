// SPDX-License-Identifier: Apache-2.0
// Calls that show rings: the mapping of their parts, and what is done at each transfer.
#include "devkit/board/Board.h"
#include "devkit/board/Export.h"
#include "devkit/board/recorder/CaptureFile.h"
#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Memory.h"
#include "devkit/board/recorder/Rings.h"
#include "wire/Ring.h"

#include <linux/futex.h>
#include <semaphore.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>

#include <cstdarg>

namespace cabinaudio::recorder {
namespace {

using trace::RingEvent;

void* mapped(void* at, std::size_t length, int flags, int descriptor, off64_t offset) noexcept {
    if (at == MAP_FAILED || (flags & MAP_SHARED) == 0 || descriptor < 0) return at;
    const KeepErrno keep;
    noteMapping(at, length, descriptor, offset);
    return at;
}

/// Rings in physical memory have a request for each piece that was written or will be read: so
/// their transfers are seen one by one, however fast they follow each other.
int request(libc::Ioctl* next, int descriptor, unsigned long number, void* argument) noexcept {
    const int result = next(descriptor, number, argument);
    const auto low = static_cast<std::uint32_t>(number);  // the kernel ignores the upper bits
    if (result != 0 || (low != board::CACHE_CLEAN && low != board::CACHE_INVALIDATE)) return result;
    const auto* range = static_cast<const wire::CacheRange*>(argument);
    noteCacheRequest(range->start, range->length);
    return result;
}

/// Counts a call that waits.
template <typename Call>
auto timed(const void* semaphore, Call call) {
    if (!hasRings()) return call();
    const std::uint64_t begin = timeNow();
    const auto result = call();
    noteSemaphoreCall(semaphore, RingEvent::Wait, (timeNow() - begin) / 1000);
    return result;
}

bool isFutexCall(long number) noexcept {
#ifdef SYS_futex_time64
    if (number == SYS_futex_time64) return true;
#endif
    return number == SYS_futex;
}

}  // namespace
}  // namespace cabinaudio::recorder

using namespace cabinaudio::recorder;

extern "C" {

BOARD_EXPORT int shm_open(const char* name, int flags, mode_t mode) {
    const int opened = libc::shmOpen.find()(name, flags, mode);
    const KeepErrno keep;
    noteObject(opened, name);
    return opened;
}

BOARD_EXPORT void* mmap(void* at, size_t length, int protection, int flags, int descriptor,
                        off_t offset) noexcept {
    return mapped(libc::mmap.find()(at, length, protection, flags, descriptor, offset), length,
                  flags, descriptor, offset);
}

BOARD_EXPORT void* mmap64(void* at, size_t length, int protection, int flags, int descriptor,
                          off64_t offset) noexcept {
    return mapped(libc::mmap64.find()(at, length, protection, flags, descriptor, offset), length,
                  flags, descriptor, offset);
}

BOARD_EXPORT int munmap(void* at, size_t length) noexcept {
    endMapping(at);
    return libc::munmap.find()(at, length);
}

BOARD_EXPORT int ioctl(int descriptor, unsigned long number, ...) noexcept {
    va_list arguments;
    va_start(arguments, number);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    return request(libc::ioctl.find(), descriptor, number, argument);
}

// Called by 32-bit programs built with 64-bit time.
BOARD_EXPORT int __ioctl_time64(int descriptor, unsigned long number, ...) noexcept;
int __ioctl_time64(int descriptor, unsigned long number, ...) noexcept {
    va_list arguments;
    va_start(arguments, number);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    libc::Ioctl* next = libc::ioctlTime64.find();
    return request(next != nullptr ? next : libc::ioctl.find(), descriptor, number, argument);
}

// Semaphores of rings: the C library's in 32-bit programs, futex calls in 64-bit ones.

BOARD_EXPORT int sem_post(sem_t* semaphore) noexcept {
    if (hasRings()) noteSemaphoreCall(semaphore, RingEvent::Notify, 0);
    return libc::semaphorePost.find()(semaphore);
}

BOARD_EXPORT int sem_wait(sem_t* semaphore) {
    return timed(semaphore, [&] { return libc::semaphoreWait.find()(semaphore); });
}

BOARD_EXPORT long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    long values[6];
    for (long& value : values)
        value = va_arg(list, long);
    va_end(list);
    const auto call = [&] {
        return libc::systemCall.find()(number, values[0], values[1], values[2], values[3],
                                       values[4], values[5]);
    };
    if (!isFutexCall(number) || !hasRings()) return call();
    const void* const word = reinterpret_cast<const void*>(values[0]);
    const long operation = values[1] & FUTEX_CMD_MASK;
    if (operation == FUTEX_WAIT) return timed(word, call);
    if (operation == FUTEX_WAKE) noteSemaphoreCall(word, RingEvent::Notify, 0);
    return call();
}
}
