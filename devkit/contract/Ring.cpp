// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Ring.h"

#include "devkit/contract/Outcome.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace cabinaudio::contract {

namespace {

constexpr std::size_t HEADER = sizeof(wire::RingHeader);

class Descriptor {
public:
    explicit Descriptor(int number) : mNumber(number) {}
    ~Descriptor() {
        if (mNumber >= 0) close(mNumber);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int number() const { return mNumber; }

private:
    int mNumber;
};

template <typename Number>
Number loaded(Number& number) {
    return std::atomic_ref(number).load(std::memory_order_acquire);
}

std::size_t pageSize() {
    return static_cast<std::size_t>(getpagesize());
}

std::size_t objectLength(int descriptor) {
    struct stat found = {};
    return fstat(descriptor, &found) == 0 ? static_cast<std::size_t>(found.st_size) : 0;
}

/// Opens the object once it has this length.
int awaitObject(const Session& session, const std::string& name, std::size_t length) {
    int opened = -1;
    std::size_t came = 0;
    const bool isThere = session.eventually([&] {
        if (opened < 0) opened = shm_open(name.c_str(), O_RDWR | O_CLOEXEC, 0600);
        if (opened >= 0) came = objectLength(opened);
        return came >= length;
    });
    if (isThere) return opened;
    const std::string found = opened < 0 ? "no such object" : std::to_string(came) + " bytes";
    if (opened >= 0) close(opened);
    throw Broken("the object \"" + name + "\" of " + std::to_string(length) + " bytes",
                 found + " after " + session.patienceText());
}

void awaitSize(const Session& session, wire::RingHeader& header, std::uint32_t size) {
    if (session.eventually([&] { return loaded(header.size) == size; })) return;
    throw Broken("a ring of " + std::to_string(size) + " bytes, as announced",
                 "a header with " + std::to_string(loaded(header.size)));
}

}  // namespace

void Ring::Unmap::operator()(std::uint8_t* at) const {
    munmap(at, length);
}

Ring::Mapping Ring::mapped(int descriptor, std::size_t length, std::uint64_t offset) {
    // Physical addresses do not fit into an off_t of 32 bits.
    void* const at = mmap64(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                            static_cast<off64_t>(offset));
    if (at == MAP_FAILED) throw Broken("memory that can be mapped", std::strerror(errno));
    return {static_cast<std::uint8_t*>(at), Unmap{length}};
}

Ring Ring::inObject(const Session& session, const std::string& name, std::uint32_t size) {
    const std::size_t length = HEADER + size;
    const Descriptor object(awaitObject(session, name, length));
    Ring ring;
    ring.mObject = name;
    ring.mHeaderPages = mapped(object.number(), length, 0);
    ring.mHeader = reinterpret_cast<wire::RingHeader*>(ring.mHeaderPages.get());
    ring.mData = ring.mHeaderPages.get() + HEADER;
    ring.mSize = size;
    awaitSize(session, *ring.mHeader, size);
    return ring;
}

Ring Ring::inMemory(const Session& session, const std::string& name, std::uint32_t address,
                    std::uint32_t size) {
    Ring ring;
    ring.mObject = headerName(name, address);
    const Descriptor object(awaitObject(session, ring.mObject, HEADER));
    ring.mHeaderPages = mapped(object.number(), HEADER, 0);
    ring.mHeader = reinterpret_cast<wire::RingHeader*>(ring.mHeaderPages.get());
    const Descriptor memory(open("/dev/mem", O_RDWR | O_SYNC | O_CLOEXEC));
    if (memory.number() < 0)
        throw NotJudged(std::string("this machine has no /dev/mem: ") + std::strerror(errno));
    const std::size_t inPage = address % pageSize();
    ring.mDataPages = mapped(memory.number(), size + inPage, address - inPage);
    ring.mData = ring.mDataPages.get() + inPage;
    ring.mSize = size;
    const int cache = open("/dev/cache", O_RDWR | O_CLOEXEC);
    if (cache >= 0)
        ring.mCache = {new int(cache), [](const int* number) {
                           close(*number);
                           delete number;
                       }};
    awaitSize(session, *ring.mHeader, size);
    return ring;
}

std::string Ring::headerName(const std::string& name, std::uint32_t address) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "_0x%x", address);
    return name + text.data();
}

bool Ring::exists(const std::string& name) {
    const Descriptor object(shm_open(name.c_str(), O_RDONLY | O_CLOEXEC, 0));
    return object.number() >= 0;
}

std::uint32_t Ring::readOffset() const {
    return loaded(mHeader->readOffset);
}

std::uint32_t Ring::writeOffset() const {
    return loaded(mHeader->writeOffset);
}

std::uint32_t Ring::used() const {
    const std::uint32_t read = readOffset();
    const std::uint32_t write = writeOffset();
    require(read < mSize && write < mSize, "offsets below the size " + std::to_string(mSize),
            "read offset " + std::to_string(read) + ", write offset " + std::to_string(write));
    return read <= write ? write - read : mSize - read + write;
}

std::uint32_t Ring::posts(wire::SemaphoreSlot& slot) {
    return loaded(slot.word[0]) >> 1;
}

/// A board's cache does not see what the audio hardware writes. On failure the data is used as it
/// is, as the library does.
void Ring::keepCache(unsigned long request, std::uint32_t offset, std::uint32_t count) const {
    if (!mCache) return;
    wire::CacheRange range = {};
    range.start = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(mData + offset));
    range.length = count;
    (void)ioctl(*mCache, request, &range);
}

void Ring::writeSilence(std::uint32_t count) {
    std::uint32_t offset = writeOffset();
    while (count > 0) {
        const std::uint32_t piece = std::min(count, mSize - offset);
        std::memset(mData + offset, 0, piece);
        keepCache(wire::CACHE_CLEAN, offset, piece);
        count -= piece;
        offset = offset + piece == mSize ? 0 : offset + piece;
        std::atomic_ref(mHeader->writeOffset).store(offset, std::memory_order_release);
    }
}

Bytes Ring::read(std::uint32_t count) {
    Bytes bytes;
    std::uint32_t offset = readOffset();
    while (count > 0) {
        const std::uint32_t piece = std::min(count, mSize - offset);
        keepCache(wire::CACHE_INVALIDATE, offset, piece);
        bytes.insert(bytes.end(), mData + offset, mData + offset + piece);
        count -= piece;
        offset = offset + piece == mSize ? 0 : offset + piece;
        std::atomic_ref(mHeader->readOffset).store(offset, std::memory_order_release);
    }
    return bytes;
}

std::uint8_t* Ring::behind() const {
    return mData + mSize;
}

std::size_t Ring::behindSize() const {
    const std::size_t length = HEADER + mSize;
    return (length + pageSize() - 1) / pageSize() * pageSize() - length;
}

}  // namespace cabinaudio::contract
