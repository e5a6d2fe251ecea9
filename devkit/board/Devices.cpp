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

// The cache object identifies itself: a sealed anonymous file with this text. So no table of
// descriptors is needed that close() and dup() would have to update.
constexpr char CACHE_MARK[] = "cabinaudio-cache\n";
constexpr int CACHE_SEALS = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

int closeKeepingErrno(int descriptor) noexcept {
    const int error = errno;
    close(descriptor);
    errno = error;
    return -1;
}

bool isOwnFile(const struct stat64& found) noexcept {
    return found.st_uid == geteuid() && S_ISREG(found.st_mode);
}

/// The directory is writable for all users: a file of that name may be another user's, or a link;
/// such a file is not the memory.
bool belongsToOtherUser(const char* path) noexcept {
    struct stat64 found;
    return lstat64(path, &found) == 0 && !isOwnFile(found);
}

/// Opens the file in one of its places. `creation` is 0 or O_CREAT | O_EXCL.
/// @return -1 with errno ENOENT or EEXIST also when another user owns the place
int openPlace(const char* instance, unsigned place, int flags, int creation) noexcept {
    PathText path;
    physicalMemoryPath(instance, geteuid(), place, path);
    const int opened = libc::open64.find()(
        path.c_str(), flags | creation | O_NOFOLLOW | O_NONBLOCK | O_LARGEFILE, 0600);
    const int error = errno;
    struct stat64 found;
    const bool isForeign = opened >= 0 ? fstat64(opened, &found) != 0 || !isOwnFile(found)
                                       : error != ENOENT && belongsToOtherUser(path.c_str());
    if (opened >= 0 && isForeign) close(opened);
    errno = isForeign ? (creation != 0 ? EEXIST : ENOENT) : error;
    return isForeign ? -1 : opened;
}

/// Opens this user's file in the first place that holds one.
int openExisting(const char* instance, int flags) noexcept {
    for (unsigned place = 0; place < PHYSICAL_MEMORY_PLACES; ++place) {
        const int opened = openPlace(instance, place, flags, 0);
        if (opened >= 0 || errno != ENOENT) return opened;
    }
    return -1;
}

/// Creates the file in the first free place, or opens the file that another process of this user
/// has created there meanwhile.
int createInFreePlace(const char* instance, int flags) noexcept {
    for (unsigned place = 0; place < PHYSICAL_MEMORY_PLACES; ++place) {
        int opened = openPlace(instance, place, flags, O_CREAT | O_EXCL);
        if (opened < 0 && errno == EEXIST) opened = openPlace(instance, place, flags, 0);
        if (opened >= 0 || errno != ENOENT) return opened;
    }
    errno = EACCES;
    return -1;
}

bool makeReady(int descriptor) noexcept {
    struct stat64 found;
    if (fstat64(descriptor, &found) != 0) return false;
    if ((found.st_mode & 07777) != 0600 && fchmod(descriptor, 0600) != 0) return false;
    constexpr auto SIZE = static_cast<off64_t>(PHYSICAL_MEMORY_SIZE);
    return found.st_size >= SIZE || ftruncate64(descriptor, SIZE) == 0;
}

bool markAsCache(int descriptor) noexcept {
    constexpr auto LENGTH = static_cast<ssize_t>(sizeof CACHE_MARK);
    return pwrite(descriptor, CACHE_MARK, sizeof CACHE_MARK, 0) == LENGTH &&
           fcntl(descriptor, F_ADD_SEALS, CACHE_SEALS) == 0;
}

}  // namespace

int openPhysicalMemory(int flags) noexcept {
    const char* instance = instanceOrRefuse();
    if (instance == nullptr) return -1;
    const int kept = flags & O_CLOEXEC;
    int made = openExisting(instance, O_RDWR | kept);
    if (made < 0 && errno == ENOENT) made = createInFreePlace(instance, O_RDWR | kept);
    if (made < 0) return -1;
    if (!makeReady(made)) return closeKeepingErrno(made);
    if ((flags & O_ACCMODE) == O_RDWR) return made;
    const int narrowed = openExisting(instance, (flags & O_ACCMODE) | kept);
    closeKeepingErrno(made);
    return narrowed;
}

int openCache(int flags) noexcept {
    const unsigned closeOnExec = (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0;
    const int made = memfd_create("cabinaudio-cache", MFD_ALLOW_SEALING | closeOnExec);
    if (made >= 0 && !markAsCache(made)) return closeKeepingErrno(made);
    return made;
}

bool isCache(int descriptor) noexcept {
    const int error = errno;
    char mark[sizeof CACHE_MARK];
    // The seals are checked first: only memory files have seals, so pipes, terminals and devices
    // are never read here.
    const bool is = fcntl(descriptor, F_GET_SEALS) == CACHE_SEALS &&
                    pread(descriptor, mark, sizeof mark, 0) == static_cast<ssize_t>(sizeof mark) &&
                    memcmp(mark, CACHE_MARK, sizeof mark) == 0;
    errno = error;
    return is;
}

}  // namespace cabinaudio::board
