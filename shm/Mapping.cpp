// SPDX-License-Identifier: Apache-2.0
#include "shm/Mapping.h"

#include "shm/RingCore.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>

namespace cabinaudio {
namespace {

constexpr const char* MEMORY_DEVICE = "/dev/mem";

std::uint64_t roundedUp(std::uint64_t length, std::uint64_t pageSize) {
    return (length + pageSize - 1) / pageSize * pageSize;
}

/// The whole pages that contain the data of a ring in physical memory.
struct PhysicalPages {
    unsigned pageSize;
    std::uint32_t dataAt;  // offset in the first page
    std::uint64_t length;

    explicit PhysicalPages(const ShareMemoryHandle& hdl)
        : pageSize(static_cast<unsigned>(getpagesize())),
          dataAt(hdl.phys % pageSize),
          length(roundedUp(std::uint64_t{hdl.len} + dataAt, pageSize)) {}
};

void closeKeepingErrno(int fd) {
    const int error = errno;
    close(fd);
    errno = error;
}

/// @return null, with errno set, on failure
void* mapShared(int fd, std::uint64_t length, off_t offset) {
    if (length > std::numeric_limits<std::size_t>::max()) {
        errno = ENOMEM;
        return nullptr;
    }
    void* const at = mmap(nullptr, static_cast<std::size_t>(length), PROT_READ | PROT_WRITE,
                          MAP_SHARED, fd, offset);
    return at != MAP_FAILED ? at : nullptr;
}

/// Whether the file system has the blocks that the object lacks. Without this check, a failing
/// reservation first takes all free blocks from other programs. A file system that reports no
/// blocks has no limit.
bool hasRoom(int fd, off_t length) {
    struct statvfs system;
    struct stat object;
    if (fstatvfs(fd, &system) != 0 || system.f_blocks == 0 || fstat(fd, &object) != 0) return true;
    // Capped at 2^32 - 1, the most bytes to reserve, so that the product fits 64 bits.
    constexpr std::uint64_t MOST = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t blocks = std::min<std::uint64_t>(system.f_bfree, MOST);
    const std::uint64_t held = static_cast<std::uint64_t>(object.st_blocks) * 512;
    return static_cast<std::uint64_t>(length) <= blocks * system.f_frsize + held;
}

/// Reserves memory for the object, so that a full file system is noticed now and not as SIGBUS at
/// the first access. A file system that cannot reserve is accepted.
bool reserve(int fd, off_t length) {
    if (!hasRoom(fd, length)) {
        errno = ENOSPC;
        return false;
    }
    int result = 0;
    do {
        result = fallocate(fd, 0, 0, length);
    } while (result != 0 && errno == EINTR);
    return result == 0 || (errno != ENOSPC && errno != EDQUOT && errno != ENOMEM && errno != EFBIG);
}

void* mapReserved(int fd, off_t length) {
    if (length > off_t{std::numeric_limits<std::uint32_t>::max()}) {
        errno = EOVERFLOW;
        return nullptr;
    }
    void* const at = mapShared(fd, static_cast<std::uint64_t>(length), 0);
    if (at == nullptr || reserve(fd, length)) return at;
    const int error = errno;
    munmap(at, static_cast<std::size_t>(length));
    errno = error;
    return nullptr;
}

/// Records which object was mapped. If that fails, an announced object never counts as the mapped
/// one.
void noteObject(ShareMemoryHandle* hdl, int fd) {
    const int error = errno;
    struct stat object = {};
    if (fstat(fd, &object) == 0) {
        hdl->device = object.st_dev;
        hdl->inode = object.st_ino;
    }
    errno = error;
}

/// Length to unmap at the header: by the shared size if it gives the same number of pages as the
/// mapping, else the mapped length, because the other side may have stored any size.
std::size_t headerLength(const ShareMemoryHandle* hdl) {
    constexpr std::uint64_t HEADER = sizeof(*hdl->hdr);
    if (hdl->type == SHM_TYPE_PHYS_MEM) return HEADER;
    const auto pageSize = static_cast<std::uint64_t>(getpagesize());
    const std::uint64_t mapped = hdl->len + HEADER;
    const std::uint64_t shared = loadRelaxed(hdl->hdr->size) + HEADER;
    const bool same = roundedUp(shared, pageSize) == roundedUp(mapped, pageSize);
    return static_cast<std::size_t>(same ? shared : mapped);
}

}  // namespace

bool mapPhysicalMemory(ShareMemoryHandle* hdl, const LogSite& site) {
    const int fd = open(MEMORY_DEVICE, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "open(%s) failed:%s\n", MEMORY_DEVICE,
                     std::strerror(errno));
        return false;
    }
    const PhysicalPages pages(*hdl);
    void* const at = mapShared(fd, pages.length, off_t{hdl->phys} - off_t{pages.dataAt});
    closeKeepingErrno(fd);
    if (at == nullptr) {
        const int error = errno;
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "mmap for phys memory failed(errno=%d/%s),phys:%p size:%u pagesize:%u\n",
                     error, std::strerror(error),
                     reinterpret_cast<void*>(std::uintptr_t{hdl->phys}), hdl->len, pages.pageSize);
        return false;
    }
    hdl->data = static_cast<unsigned char*>(at) + pages.dataAt;
    return true;
}

int openObject(const ShareMemoryHandle* hdl, const LogSite& site) {
    const int fd = shm_open(hdl->name, O_RDWR | O_CREAT, 0600);
    if (fd < 0)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "shm_open(%s) failed:%s\n", hdl->name,
                     std::strerror(errno));
    return fd;
}

bool mapHeader(ShareMemoryHandle* hdl, int fd, off_t len, const LogSite& site) {
    void* const at = mapReserved(fd, len);
    noteObject(hdl, fd);
    closeKeepingErrno(fd);
    if (at == nullptr) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "mmap(%s, %u) failed:%s\n", hdl->name,
                     static_cast<unsigned>(len), std::strerror(errno));
        return false;
    }
    hdl->hdr = static_cast<wire::RingHeader*>(at);
    return true;
}

void unmapPhysicalMemory(const ShareMemoryHandle* hdl, const LogSite& site) {
    const PhysicalPages pages(*hdl);
    void* const at = hdl->data - pages.dataAt;
    if (munmap(at, static_cast<std::size_t>(pages.length)) != 0)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "munmap failed virt=[%p/%p], size=[%d/%d]\n",
                     static_cast<void*>(hdl->data), at, static_cast<int>(hdl->len),
                     static_cast<int>(pages.length));
}

void unmapHeader(const ShareMemoryHandle* hdl, const LogSite& site) {
    const std::size_t length = headerLength(hdl);
    if (munmap(hdl->hdr, length) != 0)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "munmap(%p, %u) failed:%s\n",
                     static_cast<void*>(hdl->hdr), static_cast<unsigned>(length),
                     std::strerror(errno));
}

}  // namespace cabinaudio
