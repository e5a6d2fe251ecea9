// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/RingFixture.h"

#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace cabinaudio::test {

void Notifications::notify() {
    std::unique_lock lock(mLock);
    ++mCount;
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return !mClosed; });
}

unsigned Notifications::count() const {
    const std::lock_guard lock(mLock);
    return mCount;
}

bool Notifications::waitFor(unsigned times) const {
    std::unique_lock lock(mLock);
    return mChanged.wait_for(lock, BOUND, [&] { return mCount >= times; });
}

void Notifications::close() {
    const std::lock_guard lock(mLock);
    mClosed = true;
}

void Notifications::open() {
    const std::lock_guard lock(mLock);
    mClosed = false;
    mChanged.notify_all();
}

Object::Object(const std::string& name, std::size_t length) : mLength(length) {
    const int fd = shm_open(name.c_str(), O_RDWR, 0);
    if (fd < 0) throw std::runtime_error("no object " + name);
    struct stat64 found = {};
    fstat64(fd, &found);
    mSize = static_cast<std::size_t>(found.st_size);
    void* const at = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (at == MAP_FAILED) throw std::runtime_error("no mapping of " + name);
    mBytes = static_cast<unsigned char*>(at);
}

Object::~Object() {
    munmap(mBytes, mLength);
}

wire::RingHeader& Object::header() const {
    return *reinterpret_cast<wire::RingHeader*>(mBytes);
}

std::vector<unsigned char> Object::copy(std::size_t offset, std::size_t length) const {
    return {mBytes + offset, mBytes + offset + length};
}

bool Object::exists(const std::string& name) {
    const int fd = shm_open(name.c_str(), O_RDONLY, 0);
    if (fd >= 0) close(fd);
    return fd >= 0;
}

void Object::remove(const std::string& name) {
    shm_unlink(name.c_str());
}

Physical::Physical(std::uint32_t address, std::size_t length) {
    const auto page = static_cast<std::uint32_t>(getpagesize());
    const std::uint32_t inPage = address % page;
    mLength = length + inPage;
    const int fd = open64("/dev/mem", O_RDWR);
    void* const at =
        mmap64(nullptr, mLength, PROT_READ | PROT_WRITE, MAP_SHARED, fd, off64_t{address} - inPage);
    close(fd);
    if (at == MAP_FAILED) throw std::runtime_error("no physical memory");
    mPages = static_cast<unsigned char*>(at);
    mData = mPages + inPage;
}

Physical::~Physical() {
    munmap(mPages, mLength);
}

std::uint32_t postsIn(const wire::SemaphoreSlot& slot) {
    auto& word = const_cast<std::uint32_t&>(slot.word[0]);
    return std::atomic_ref<std::uint32_t>(word).load() / 2;
}

const unsigned char* addressOf(std::uint32_t physical) {
    return reinterpret_cast<const unsigned char*>(std::uintptr_t{physical});
}

std::vector<unsigned char> pattern(std::size_t count, unsigned start) {
    std::vector<unsigned char> bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>((i + start) * 31 + 7);
    return bytes;
}

namespace {

/// Threads of the process when none of ours runs. A sanitizer adds its own at the first one, and a
/// joined thread stays visible for a moment.
std::size_t threadsAtRest() {
    pid_t id = 0;
    std::thread([&] { id = gettid(); }).join();
    const std::string entry = "/proc/self/task/" + std::to_string(id);
    EXPECT_TRUE(eventually([&] { return access(entry.c_str(), F_OK) != 0; }));
    return ProcessState::now().threads;
}

}  // namespace

RingFixture::RingFixture() {
    static const std::size_t threads = threadsAtRest();
    EXPECT_TRUE(eventually([] { return ProcessState::now().threads == threads; }));
    const auto* const info = ::testing::UnitTest::GetInstance()->current_test_info();
    mName = std::string(info->name()).substr(0, 40);
    for (char& letter : mName)
        if (letter == '/') letter = '.';
}

RingFixture::~RingFixture() {
    Object::remove(posixName());
    Object::remove(physicalName());
    const char* const instance = std::getenv("CABINAUDIO_INSTANCE");
    const std::string memory = "/dev/shm/cabinaudio-physmem-" + std::to_string(geteuid()) + "-" +
                               (instance != nullptr ? instance : "");
    unlink(memory.c_str());
}

std::unique_ptr<ShareMemoryEx> RingFixture::posix(
    unsigned size, unsigned mode, ShareMemoryUpdateNotificationCallback* callback) const {
    return std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, mName.c_str(), nullptr, size, mode,
                                           callback);
}

std::unique_ptr<ShareMemoryEx> RingFixture::physical(
    unsigned size, unsigned mode, ShareMemoryUpdateNotificationCallback* callback) const {
    return std::make_unique<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, mName.c_str(), addressOf(PHYSICAL),
                                           size, mode, callback);
}

}  // namespace cabinaudio::test
