// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Devices.h"

#include "devkit/board/Board.h"
#include "devkit/board/Instance.h"
#include "devkit/board/Libc.h"
#include "devkit/board/Names.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace cabinaudio::board {
namespace {

// The cache object says itself what it is: a sealed anonymous file with this text.
// So no table of descriptors is needed, which close() and dup() would have to keep.
constexpr char kCacheMark[] = "cabinaudio-cache\n";
constexpr int kCacheSeals = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

int closeKeepingErrno(int descriptor) noexcept {
    const int error = errno;
    close(descriptor);
    errno = error;
    return -1;
}

// The directory is open to every user: the file must be ours, and no link.
bool isReady(int descriptor) noexcept {
    struct stat64 found;
    if (fstat64(descriptor, &found) != 0) {
        return false;
    }
    if (found.st_uid != geteuid() || !S_ISREG(found.st_mode)) {
        errno = EACCES;
        return false;
    }
    if ((found.st_mode & 07777) != 0600 && fchmod(descriptor, 0600) != 0) {
        return false;
    }
    constexpr auto size = static_cast<off64_t>(kPhysicalMemorySize);
    return found.st_size >= size || ftruncate64(descriptor, size) == 0;
}

bool markAsCache(int descriptor) noexcept {
    constexpr auto length = static_cast<ssize_t>(sizeof kCacheMark);
    return pwrite(descriptor, kCacheMark, sizeof kCacheMark, 0) == length &&
           fcntl(descriptor, F_ADD_SEALS, kCacheSeals) == 0;
}

}  // namespace

int openPhysicalMemory(int flags) noexcept {
    const char* instance = instanceOrRefuse();
    if (instance == nullptr) {
        return -1;
    }
    PathText path;
    physicalMemoryPath(instance, geteuid(), path);
    const int kept = flags & O_CLOEXEC;
    const int made = libc::open64.find()(
        path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_LARGEFILE | kept, 0600);
    if (made < 0) {
        return -1;
    }
    if (!isReady(made)) {
        return closeKeepingErrno(made);
    }
    if ((flags & O_ACCMODE) == O_RDWR) {
        return made;
    }
    const int narrowed =
        libc::open64.find()(path.c_str(), (flags & O_ACCMODE) | O_NOFOLLOW | O_LARGEFILE | kept, 0);
    closeKeepingErrno(made);
    return narrowed;
}

int openCache(int flags) noexcept {
    const unsigned closeOnExec = (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0;
    const int made = memfd_create("cabinaudio-cache", MFD_ALLOW_SEALING | closeOnExec);
    if (made >= 0 && !markAsCache(made)) {
        return closeKeepingErrno(made);
    }
    return made;
}

bool isCache(int descriptor) noexcept {
    const int error = errno;
    char mark[sizeof kCacheMark];
    // The seals come first: only files in memory have any, so nothing is ever read
    // from a pipe, a terminal or a device here.
    const bool is = fcntl(descriptor, F_GET_SEALS) == kCacheSeals &&
                    pread(descriptor, mark, sizeof mark, 0) == static_cast<ssize_t>(sizeof mark) &&
                    memcmp(mark, kCacheMark, sizeof mark) == 0;
    errno = error;
    return is;
}

}  // namespace cabinaudio::board
