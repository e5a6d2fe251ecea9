// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/RingMaker.h"

#include "devkit/board/Names.h"
#include "devkit/replay/Error.h"
#include "devkit/server/base/UniqueFd.h"
#include "devkit/text/Printable.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace cabinaudio::replay {

namespace {

// The stand-in for the memory ends at 2 GiB. Addresses are given again after that.
constexpr std::uint32_t FIRST_ADDRESS = 0x40000000;
constexpr std::uint32_t END = 0x80000000;
constexpr std::uint32_t PAGE = 0x10000;  // the largest in use

std::uint32_t inWholePages(std::uint32_t size) {
    return (size + PAGE - 1) / PAGE * PAGE;
}

UniqueFd newObject(const std::string& path) {
    return UniqueFd(shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR));
}

/// As the library cuts it.
std::string objectName(const std::string& text) {
    constexpr std::size_t LONGEST = 63;
    return text.substr(0, LONGEST);
}

}  // namespace

/// As the server does when it ends.
RingMaker::~RingMaker() {
    const char* const instance = board::instanceInEnvironment();
    if (!mHasMemory || instance == nullptr) return;
    for (unsigned place = 0; place < board::PHYSICAL_MEMORY_PLACES; ++place) {
        board::PathText path;
        board::physicalMemoryPath(instance, geteuid(), place, path);
        (void)unlink(path.c_str());
    }
}

/// Makes a new object, so that the ring is not in one that another program has.
void RingMaker::claim(const std::string& object) const {
    const std::size_t begin = object.find_first_not_of('/');
    const std::string path = "/" + (begin == std::string::npos ? "" : object.substr(begin));
    UniqueFd made = newObject(path);
    if (!made && errno == EEXIST && mHasInstance && shm_unlink(path.c_str()) == 0)
        made = newObject(path);
    if (made) return;
    const int error = errno;
    throw Error(Error::Cause::System,
                "no shared memory \"" + text::printableInQuotes(object) +
                    "\" for a ring: " + std::strerror(error) +
                    (error == EEXIST && !mHasInstance
                         ? "; another program may use it: an instance (--instance) has own names"
                         : ""));
}

std::unique_ptr<Ring> RingMaker::make(const Ring::Place& place, unsigned mode) {
    auto ring = std::make_unique<Ring>(mWaker, place, mode | SHM_MODE_CREATOR);
    if (!ring->isUsable())
        throw Error(Error::Cause::System, "no memory for the ring of stream \"" +
                                              text::printableInQuotes(place.name) + "\", " +
                                              std::to_string(place.size) + " bytes");
    return ring;
}

std::unique_ptr<Ring> RingMaker::inSharedMemory(const std::string& name, std::uint32_t size,
                                                unsigned mode) {
    claim(objectName(name));
    return make({name, size, false, 0}, mode);
}

std::unique_ptr<Ring> RingMaker::inPhysicalMemory(const std::string& name, std::uint32_t size,
                                                  unsigned mode) {
    if (size > END - FIRST_ADDRESS)
        throw Error(Error::Cause::System,
                    "a ring of " + std::to_string(size) + " bytes does not fit the memory");
    if (size > END - mNextAddress) mNextAddress = FIRST_ADDRESS;
    const std::uint32_t address = mNextAddress;
    mNextAddress += inWholePages(size);
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "_0x%x", address);
    claim(objectName(name + suffix));
    mHasMemory = true;
    return make({name, size, true, address}, mode);
}

}  // namespace cabinaudio::replay
