// SPDX-License-Identifier: Apache-2.0
// Cache maintenance: a desktop's memory is coherent, so the requests do nothing.
#include "devkit/board/Board.h"
#include "devkit/board/Devices.h"
#include "devkit/board/Export.h"
#include "devkit/board/Libc.h"

#include <sys/ioctl.h>

#include <cerrno>
#include <cstdarg>

namespace cabinaudio::board {
namespace {

int request(libc::Ioctl* next, int descriptor, unsigned long number, void* argument) noexcept {
    const auto low = static_cast<std::uint32_t>(number);  // the kernel ignores the upper bits
    if ((low == CACHE_CLEAN || low == CACHE_INVALIDATE) && isCache(descriptor)) return 0;
    const int result = next(descriptor, number, argument);
    // An emulator handles only the requests that it knows, and returns ENOSYS for others.
    if (result == -1 && errno == ENOSYS && isCache(descriptor)) errno = ENOTTY;
    return result;
}

}  // namespace
}  // namespace cabinaudio::board

using namespace cabinaudio::board;

extern "C" {

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
}
