// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/RingObject.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/board/Names.h"
#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/base/UniqueFd.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace cabinaudio::server {
namespace {

using wire::RingHeader;

constexpr mode_t OTHERS = S_IRWXG | S_IRWXO;

bool isPrivate(const struct stat64& object) {
    return S_ISREG(object.st_mode) && object.st_uid == geteuid() && (object.st_mode & OTHERS) == 0;
}

bool isInitialised(const wire::SemaphoreSlot& semaphore) {
    constexpr std::uint32_t SHARED = 128;  // the C library's flag for process-shared semaphores
    return semaphore.word[1] == SHARED && semaphore.word[2] == 0;
}

/// A physical ring's size is that of its data, which lies outside the object.
bool isRing(const RingHeader& header, off64_t length) {
    constexpr off64_t HEADER = sizeof header;
    return (length == HEADER || length == HEADER + off64_t{header.size}) && header.size != 0 &&
           header.readOffset < header.size && header.writeOffset < header.size &&
           isInitialised(header.readSem) && isInitialised(header.writeSem) &&
           header.spare46[0] == 0 && header.spare46[1] == 0;
}

/// Whether the object is a ring made by a server of this user. Objects of other programs lie in the
/// same directory, and the client chooses the name.
bool isLeftOver(int fd) {
    struct stat64 object = {};
    RingHeader header = {};
    return fstat64(fd, &object) == 0 && isPrivate(object) && object.st_nlink == 1 &&
           pread(fd, &header, sizeof header, 0) == sizeof header && isRing(header, object.st_size);
}

/// Whether all names made by the stand-in carry this instance's prefix, so that no other program's
/// objects can be meant.
bool hasOwnNames() {
    const char* instance = board::instanceInEnvironment();
    return instance != nullptr && instance[0] != '\0';
}

/// @return empty on success, else why the name stays taken
std::string removeLeftOver(const std::string& path) {
    if (!hasOwnNames()) {
        const UniqueFd found(shm_open(path.c_str(), O_RDONLY | O_NONBLOCK, 0));
        if (!found) return std::string("it cannot be looked at: ") + std::strerror(errno);
        if (!isLeftOver(found.get())) return "it is not a ring of this user's server";
    }
    if (shm_unlink(path.c_str()) == 0 || errno == ENOENT) return {};
    return std::string("it cannot be removed: ") + std::strerror(errno);
}

int openNew(const std::string& path) {
    return shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
}

/// Creates the object, replacing a ring that was left behind. @return the status
std::int32_t openObject(const Client& client, const std::string& name, UniqueFd& fd) {
    const std::string path = "/" + name;
    fd = UniqueFd(openNew(path));
    if (!fd && errno == EEXIST) {
        const std::string reason = removeLeftOver(path);
        if (!reason.empty()) {
            log::warning("%s: refused, there is an object \"%s\" in shared memory, and %s",
                         client.title().c_str(), printable(name).c_str(), reason.c_str());
            return AUDIO_INVALID_OPERATION;
        }
        fd = UniqueFd(openNew(path));
    }
    if (fd) return AUDIO_NO_ERROR;
    const int error = errno;
    log::warning("%s: the object \"%s\" cannot be made in shared memory: %s",
                 client.title().c_str(), printable(name).c_str(), std::strerror(error));
    return error == EEXIST ? AUDIO_INVALID_OPERATION : AUDIO_NO_MEMORY;
}

RingHeader* mapHeader(int fd) {
    void* const at = mmap(nullptr, sizeof(RingHeader), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return at != MAP_FAILED ? static_cast<RingHeader*>(at) : nullptr;
}

}  // namespace

std::int32_t RingObject::make(const Client& client, const std::string& name,
                              std::unique_ptr<RingObject>& object) {
    UniqueFd fd;
    if (const std::int32_t status = openObject(client, name, fd); status != AUDIO_NO_ERROR)
        return status;
    std::string path = "/" + name;
    struct stat64 made = {};
    // The directory may have its own access rules for new objects (a default ACL).
    if (fstat64(fd.get(), &made) != 0 || !isPrivate(made)) {
        log::warning("%s: refused, others could use the object \"%s\" in shared memory",
                     client.title().c_str(), printable(name).c_str());
        shm_unlink(path.c_str());
        return AUDIO_INVALID_OPERATION;
    }
    RingHeader* const header = mapHeader(fd.get());
    if (header == nullptr) {
        log::warning("%s: the header of its ring cannot be mapped: %s", client.title().c_str(),
                     std::strerror(errno));
        shm_unlink(path.c_str());
        return AUDIO_NO_MEMORY;
    }
    object.reset(new RingObject(std::move(path), header, made.st_dev, made.st_ino));
    return AUDIO_NO_ERROR;
}

RingObject::RingObject(std::string path, RingHeader* header, std::uint64_t device,
                       std::uint64_t number)
    : mPath(std::move(path)), mHeader(header), mDevice(device), mNumber(number) {}

RingObject::~RingObject() {
    munmap(mHeader, sizeof *mHeader);
}

bool RingObject::isNamed() const {
    const UniqueFd fd(shm_open(mPath.c_str(), O_RDONLY | O_NONBLOCK, 0));
    struct stat64 found = {};
    return fd && fstat64(fd.get(), &found) == 0 && found.st_dev == mDevice &&
           found.st_ino == mNumber;
}

}  // namespace cabinaudio::server
