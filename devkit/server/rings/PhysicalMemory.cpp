// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/PhysicalMemory.h"

#include "devkit/board/Board.h"
#include "devkit/board/Names.h"
#include "devkit/server/base/Log.h"
#include "devkit/server/base/UniqueFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <utility>

namespace cabinaudio::server {
namespace {

// Above the addresses that boards reserve for devices; every address must also fit the stand-in's
// file.
constexpr std::uint64_t FIRST_ADDRESS = 0x40000000;
constexpr std::uint64_t END = board::PHYSICAL_MEMORY_SIZE;

std::uint64_t inWholePages(std::uint32_t size) {
    const auto page = static_cast<std::uint64_t>(std::max(4096L, sysconf(_SC_PAGESIZE)));
    return (std::max<std::uint64_t>(size, 1) + page - 1) / page * page;
}

/// Empty when the environment's instance name is invalid.
std::string pathOf(unsigned place) {
    const char* instance = board::instanceInEnvironment();
    if (instance == nullptr) return {};
    board::PathText path;
    board::physicalMemoryPath(instance, geteuid(), place, path);
    return path.c_str();
}

std::string pathOf(const UniqueFd& file) {
    char target[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(file.get());
    const ssize_t length = readlink(link.c_str(), target, sizeof target);
    return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

/// The next owner gets zeros, and the system gets the memory back.
void clear(std::uint32_t address, std::uint32_t size) {
    const UniqueFd memory(open(board::MEMORY_DEVICE, O_RDWR | O_CLOEXEC));
    if (!memory || fallocate(memory.get(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE,
                             static_cast<off_t>(address), static_cast<off_t>(size)) != 0) {
        log::debug("physical memory at 0x%x stays filled: %s", address, strerror(errno));
    }
}

}  // namespace

PhysicalMemory::Range::Range(Range&& other) noexcept
    : mMemory(std::exchange(other.mMemory, nullptr)), mAddress(other.mAddress) {}

PhysicalMemory::Range& PhysicalMemory::Range::operator=(Range&& other) noexcept {
    std::swap(mMemory, other.mMemory);
    std::swap(mAddress, other.mAddress);
    return *this;
}

PhysicalMemory::Range::~Range() {
    if (mMemory != nullptr) mMemory->release(mAddress);
}

std::optional<PhysicalMemory::Range> PhysicalMemory::allocate(std::uint32_t size) {
    const std::uint64_t needed = inWholePages(size);
    std::uint64_t candidate = FIRST_ADDRESS;
    for (const auto& [address, used] : mUsed) {
        if (candidate + needed <= address) break;
        candidate = std::uint64_t{address} + used;
    }
    if (candidate + needed > END) return std::nullopt;
    const auto address = static_cast<std::uint32_t>(candidate);
    mUsed.emplace(address, static_cast<std::uint32_t>(needed));
    return Range(*this, address);
}

void PhysicalMemory::release(std::uint32_t address) {
    const auto range = mUsed.find(address);
    clear(address, range->second);
    mUsed.erase(range);
}

void PhysicalMemory::take() {
    remove();
    const UniqueFd memory(open(board::MEMORY_DEVICE, O_RDWR | O_CLOEXEC));
    if (!memory) {
        log::error("no physical memory: %s%s", strerror(errno),
                   errno == EACCES ? "; other users have taken each of its names in /dev/shm, an "
                                     "instance (--instance) has others"
                                   : "");
        return;
    }
    const std::string path = pathOf(memory);
    if (path != pathOf(0U)) {
        log::warning("%s belongs to another user; the physical memory is %s", pathOf(0U).c_str(),
                     path.c_str());
    }
}

void PhysicalMemory::remove() {
    for (unsigned place = 0; place < board::PHYSICAL_MEMORY_PLACES; ++place) {
        const std::string path = pathOf(place);
        if (!path.empty() && unlink(path.c_str()) != 0 && errno != ENOENT)
            log::debug("%s: %s", path.c_str(), strerror(errno));
    }
}

}  // namespace cabinaudio::server
