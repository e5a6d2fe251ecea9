// SPDX-License-Identifier: Apache-2.0
// Opens of the devices and the diagnostics file, through every function of the C library.
#include "devkit/board/Board.h"
#include "devkit/board/Devices.h"
#include "devkit/board/Export.h"
#include "devkit/board/Instance.h"
#include "devkit/board/Libc.h"
#include "devkit/board/Names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace cabinaudio::board {
namespace {

enum class Place { Elsewhere, MemoryDevice, CacheDevice, ConfigFile };

/// A null path must reach the kernel, which returns EFAULT. The headers declare the path non-null,
/// so compilers drop a plain null check.
bool isNull(const char* path) noexcept {
    asm("" : "+r"(path));
    return path == nullptr;
}

Place placeOf(const char* path) noexcept {
    if (isNull(path) || path[0] != '/') return Place::Elsewhere;
    if (strcmp(path, MEMORY_DEVICE) == 0) return Place::MemoryDevice;
    if (strcmp(path, CACHE_DEVICE) == 0) return Place::CacheDevice;
    return strcmp(path, CONFIG_FILE) == 0 ? Place::ConfigFile : Place::Elsewhere;
}

bool isConfigDirectory(const char* path) noexcept {
    if (isNull(path)) return false;
    constexpr std::size_t LENGTH = sizeof CONFIG_DIRECTORY - 1;
    if (strncmp(path, CONFIG_DIRECTORY, LENGTH) != 0) return false;
    const char* rest = path + LENGTH;
    return rest[strspn(rest, "/")] == '\0';
}

bool mappedConfigDirectory(PathText& path) noexcept {
    const char* instance = instanceOrRefuse();
    return instance != nullptr && configDirectory(instance, path);
}

bool mappedConfigFile(PathText& path) noexcept {
    if (!mappedConfigDirectory(path)) return false;
    if (!path.append(CONFIG_FILE + sizeof CONFIG_DIRECTORY - 1).fits()) errno = ENAMETOOLONG;
    return path.fits();
}

/// `openThere` opens the given path in the same way as the program's call.
template <typename OpenThere>
int openPlace(const char* path, int flags, OpenThere openThere) noexcept {
    switch (placeOf(path)) {
        case Place::MemoryDevice:
            return openPhysicalMemory(flags);
        case Place::CacheDevice:
            return openCache(flags);
        case Place::ConfigFile: {
            PathText mapped;
            return mappedConfigFile(mapped) ? openThere(mapped.c_str()) : -1;
        }
        case Place::Elsewhere:
            break;
    }
    return openThere(path);
}

/// A device cannot be truncated, so its stand-in must not be: fopen(..., "w") would do it.
FILE* streamOf(int descriptor, const char* mode) noexcept {
    if (descriptor < 0) return nullptr;
    FILE* stream = fdopen(descriptor, mode);
    if (stream == nullptr) {
        const int error = errno;
        close(descriptor);
        errno = error;
    }
    return stream;
}

FILE* openStream(const char* path, const char* mode, libc::Fopen* next) noexcept {
    switch (placeOf(path)) {
        case Place::MemoryDevice:
            return streamOf(openPhysicalMemory(O_RDWR), mode);
        case Place::CacheDevice:
            return streamOf(openCache(O_RDWR), mode);
        case Place::ConfigFile: {
            PathText mapped;
            return mappedConfigFile(mapped) ? next(mapped.c_str(), mode) : nullptr;
        }
        case Place::Elsewhere:
            break;
    }
    return next(path, mode);
}

/// On the board these directories are part of the system; here they may be missing. Errors show
/// when the last directory is created.
void makeParents(PathText& path) noexcept {
    for (char* end = path.data() + 1; *end != '\0'; ++end) {
        if (*end == '/') {
            *end = '\0';
            libc::mkdir.find()(path.c_str(), 0700);
            *end = '/';
        }
    }
}

mode_t modeArgument(int flags, va_list arguments) noexcept {
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? va_arg(arguments, mode_t) : 0;
}

int openAs(Next<libc::Open>& next, const char* path, int flags, mode_t mode) noexcept {
    return openPlace(path, flags,
                     [&](const char* there) { return next.find()(there, flags, mode); });
}

int openAtAs(Next<libc::OpenAt>& next, int directory, const char* path, int flags,
             mode_t mode) noexcept {
    return openPlace(path, flags,
                     [&](const char* there) { return next.find()(directory, there, flags, mode); });
}

int openAs(Next<libc::CheckedOpen>& next, const char* path, int flags) noexcept {
    return openPlace(path, flags, [&](const char* there) { return next.find()(there, flags); });
}

int openAtAs(Next<libc::CheckedOpenAt>& next, int directory, const char* path, int flags) noexcept {
    return openPlace(path, flags,
                     [&](const char* there) { return next.find()(directory, there, flags); });
}

}  // namespace
}  // namespace cabinaudio::board

using namespace cabinaudio::board;

extern "C" {

BOARD_EXPORT int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeArgument(flags, arguments);
    va_end(arguments);
    return openAs(libc::open, path, flags, mode);
}

BOARD_EXPORT int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeArgument(flags, arguments);
    va_end(arguments);
    return openAs(libc::open64, path, flags, mode);
}

BOARD_EXPORT int openat(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeArgument(flags, arguments);
    va_end(arguments);
    return openAtAs(libc::openat, directory, path, flags, mode);
}

BOARD_EXPORT int openat64(int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeArgument(flags, arguments);
    va_end(arguments);
    return openAtAs(libc::openat64, directory, path, flags, mode);
}

/// Called by programs built with _FORTIFY_SOURCE, in place of the four functions above.
BOARD_EXPORT int __open_2(const char* path, int flags) {
    return openAs(libc::checkedOpen, path, flags);
}
BOARD_EXPORT int __open64_2(const char* path, int flags) {
    return openAs(libc::checkedOpen64, path, flags);
}
BOARD_EXPORT int __openat_2(int directory, const char* path, int flags) {
    return openAtAs(libc::checkedOpenat, directory, path, flags);
}
BOARD_EXPORT int __openat64_2(int directory, const char* path, int flags) {
    return openAtAs(libc::checkedOpenat64, directory, path, flags);
}

BOARD_EXPORT FILE* fopen(const char* path, const char* mode) {
    return openStream(path, mode, libc::fopen.find());
}

BOARD_EXPORT FILE* fopen64(const char* path, const char* mode) {
    return openStream(path, mode, libc::fopen64.find());
}

BOARD_EXPORT int mkdir(const char* path, mode_t mode) noexcept {
    if (!isConfigDirectory(path)) return libc::mkdir.find()(path, mode);
    PathText mapped;
    if (!mappedConfigDirectory(mapped)) return -1;
    makeParents(mapped);
    return libc::mkdir.find()(mapped.c_str(), mode);
}
}
