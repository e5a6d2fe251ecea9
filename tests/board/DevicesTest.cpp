// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Names.h"
#include "tests/board/InProcess.h"
#include "tests/support/Row.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <thread>

// What programs built with _FORTIFY_SOURCE or with 64-bit time call; no header declares them.
extern "C" {
int __open_2(const char* path, int flags);
int __open64_2(const char* path, int flags);
int __openat_2(int directory, const char* path, int flags);
int __openat64_2(int directory, const char* path, int flags);
int __ioctl_time64(int descriptor, unsigned long request, ...) noexcept;
}

namespace cabinaudio::test {
namespace {

constexpr off64_t MEMORY_SIZE = 0x7f000000;
constexpr std::size_t PAGE = 4096;
constexpr off64_t LAST_PAGE = MEMORY_SIZE - PAGE;

struct WayToOpen : Row {
    std::function<int(const char*, int)> open;
};

class Device : public ::testing::TestWithParam<WayToOpen> {
protected:
    int open(const char* path) { return GetParam().open(path, O_RDWR | O_CLOEXEC); }

    OwnInstance mInstance;
    Variable mVariable{board::INSTANCE_VARIABLE, mInstance.name()};
};

INSTANTIATE_TEST_SUITE_P(
    OpenedBy, Device,
    ::testing::Values(
        WayToOpen{"open", [](auto path, int flags) { return ::open(path, flags); }},
        WayToOpen{"open64", [](auto path, int flags) { return ::open64(path, flags); }},
        WayToOpen{"openat", [](auto path, int flags) { return ::openat(AT_FDCWD, path, flags); }},
        WayToOpen{"openat64",
                  [](auto path, int flags) { return ::openat64(AT_FDCWD, path, flags); }},
        WayToOpen{"open_2", [](auto path, int flags) { return ::__open_2(path, flags); }},
        WayToOpen{"open64_2", [](auto path, int flags) { return ::__open64_2(path, flags); }},
        WayToOpen{"openat_2",
                  [](auto path, int flags) { return ::__openat_2(AT_FDCWD, path, flags); }},
        WayToOpen{"openat64_2",
                  [](auto path, int flags) { return ::__openat64_2(AT_FDCWD, path, flags); }},
        WayToOpen{"openatBesideAnyDirectory",
                  [](auto path, int flags) { return ::openat(-1, path, flags); }}),
    ROW_NAME);

TEST_P(Device, MemIsTheMemoryOfTheInstance) {
    const OpenFile memory(open("/dev/mem"));
    ASSERT_GE(memory, 0);
    struct stat64 opened {};
    struct stat64 named {};
    ASSERT_EQ(fstat64(memory, &opened), 0);
    ASSERT_EQ(stat64(mInstance.memoryFile().c_str(), &named), 0);
    EXPECT_EQ(opened.st_ino, named.st_ino);
    EXPECT_EQ(opened.st_size, MEMORY_SIZE);
    EXPECT_EQ(fcntl(memory, F_GETFD), FD_CLOEXEC);
}

TEST_P(Device, CacheAcceptsCacheRequests) {
    const OpenFile cache(open("/dev/cache"));
    ASSERT_GE(cache, 0);
    EXPECT_EQ(ioctl(cache, board::CACHE_INVALIDATE, nullptr), 0);
    EXPECT_EQ(fcntl(cache, F_GETFD), FD_CLOEXEC);
}

TEST_P(Device, OtherPathsGoToTheKernel) {
    const OpenFile null(open("/dev/null"));
    ASSERT_GE(null, 0);
    struct stat status {};
    ASSERT_EQ(fstat(null, &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
    EXPECT_EQ(open("/dev/mem2"), -1);
    EXPECT_EQ(errno, ENOENT);
}

const char* volatile noPath = nullptr;

// Called through pointers: compilers know that the functions themselves want no null path.
TEST(NullPath, GoesToTheKernel) {
    const char* nothing = noPath;
    int (*volatile plain)(const char*, int, ...) = ::open;
    int (*volatile large)(const char*, int, ...) = ::open64;
    int (*volatile beside)(int, const char*, int, ...) = ::openat;
    int (*volatile make)(const char*, mode_t) = ::mkdir;
    for (const auto& open : {plain, large}) {
        EXPECT_EQ(open(nothing, O_RDWR), -1);
        EXPECT_EQ(errno, EFAULT);
    }
    EXPECT_EQ(beside(AT_FDCWD, nothing, O_RDWR), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(make(nothing, 0700), -1);
    EXPECT_EQ(errno, EFAULT);
}

// ---- Memory -------------------------------------------------------------------------------------

class MemoryDevice : public InAnInstance {};

TEST_F(MemoryDevice, IsAPrivateSparseFileBelowTwoGigabytes) {
    const OpenFile memory(open("/dev/mem", O_RDWR));
    struct stat64 status {};
    ASSERT_EQ(fstat64(memory, &status), 0);
    EXPECT_EQ(status.st_size, MEMORY_SIZE);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    EXPECT_EQ(status.st_uid, geteuid());
    EXPECT_EQ(status.st_blocks, 0);
}

TEST_F(MemoryDevice, IsSharedByAllWhoOpenIt) {
    const OpenFile first(open("/dev/mem", O_RDWR));
    const OpenFile second(open("/dev/mem", O_RDWR));
    void* one = mmap64(nullptr, PAGE, PROT_READ | PROT_WRITE, MAP_SHARED, first, LAST_PAGE);
    void* other = mmap64(nullptr, PAGE, PROT_READ, MAP_SHARED, second, LAST_PAGE);
    ASSERT_NE(one, MAP_FAILED);
    ASSERT_NE(other, MAP_FAILED);
    static_cast<volatile char*>(one)[PAGE - 1] = 'x';
    EXPECT_EQ(static_cast<volatile char*>(other)[PAGE - 1], 'x');
    munmap(one, PAGE);
    munmap(other, PAGE);
}

TEST_F(MemoryDevice, HasTheRequestedAccess) {
    const OpenFile readOnly(open("/dev/mem", O_RDONLY));
    const OpenFile writeOnly(open("/dev/mem", O_WRONLY));
    ASSERT_GE(readOnly, 0);
    ASSERT_GE(writeOnly, 0);
    char byte = 0;
    EXPECT_EQ(write(readOnly, &byte, 1), -1);
    EXPECT_EQ(read(readOnly, &byte, 1), 1);
    EXPECT_EQ(read(writeOnly, &byte, 1), -1);
    EXPECT_EQ(write(writeOnly, &byte, 1), 1);
}

TEST_F(MemoryDevice, IsNeverTruncated) {
    const OpenFile first(open("/dev/mem", O_RDWR));
    ASSERT_EQ(pwrite64(first, "x", 1, LAST_PAGE), 1);
    const OpenFile again(open("/dev/mem", O_RDWR | O_CREAT | O_TRUNC, 0666));
    ASSERT_GE(again, 0);
    FILE* stream = fopen("/dev/mem", "w");
    ASSERT_NE(stream, nullptr);
    fclose(stream);
    char byte = 0;
    EXPECT_EQ(pread64(first, &byte, 1, LAST_PAGE), 1);
    EXPECT_EQ(byte, 'x');
}

TEST_F(MemoryDevice, HasItsModeUnderAnyUmask) {
    const mode_t before = umask(0777);
    const OpenFile memory(open("/dev/mem", O_RDWR));
    umask(before);
    ASSERT_GE(memory, 0);
    struct stat64 status {};
    ASSERT_EQ(fstat64(memory, &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

/// The number of the file behind the memory device.
ino_t memoryNumber() {
    const OpenFile memory(open("/dev/mem", O_RDWR));
    struct stat64 status {};
    return memory >= 0 && fstat64(memory, &status) == 0 ? static_cast<ino_t>(status.st_ino) : 0;
}

ino_t numberOf(const std::string& path) {
    struct stat64 status {};
    return lstat64(path.c_str(), &status) == 0 ? static_cast<ino_t>(status.st_ino) : 0;
}

TEST_F(MemoryDevice, DoesNotFollowALinkInItsPlace) {
    const TemporaryDirectory elsewhere;
    ASSERT_EQ(symlink((elsewhere.path() / "trap").c_str(), mInstance.memoryFile().c_str()), 0);
    const ino_t number = memoryNumber();
    EXPECT_NE(number, 0U);
    EXPECT_EQ(number, numberOf(mInstance.memoryFile().native() + ".1"));
    EXPECT_FALSE(std::filesystem::exists(elsewhere.path() / "trap"));
}

TEST_F(MemoryDevice, UsesItsNextPlaceWhenAnotherUserHasTakenOne) {
    const OpenFile foreign(open64(mInstance.memoryFile().c_str(), O_RDWR | O_CREAT, 0666));
    ASSERT_GE(foreign, 0);
    if (fchown(foreign, geteuid() + 1, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const ino_t number = memoryNumber();
    EXPECT_NE(number, 0U);
    EXPECT_EQ(number, numberOf(mInstance.memoryFile().native() + ".1"));
    struct stat64 status {};
    ASSERT_EQ(fstat64(foreign, &status), 0);
    EXPECT_EQ(status.st_size, 0) << "the other user's file";

    ASSERT_EQ(unlink(mInstance.memoryFile().c_str()), 0);
    EXPECT_EQ(memoryNumber(), number) << "processes that come later find the same memory";
    const OpenFile readOnly(open("/dev/mem", O_RDONLY));
    ASSERT_EQ(fstat64(readOnly, &status), 0);
    EXPECT_EQ(status.st_ino, number);
}

TEST_F(MemoryDevice, IsMissingWhenOtherUsersHaveTakenEachPlace) {
    for (unsigned place = 0; place < board::PHYSICAL_MEMORY_PLACES; ++place) {
        const std::string name =
            mInstance.memoryFile().native() + (place == 0 ? "" : "." + std::to_string(place));
        ASSERT_EQ(symlink("/nowhere", name.c_str()), 0);
    }
    EXPECT_EQ(open("/dev/mem", O_RDWR), -1);
    EXPECT_EQ(errno, EACCES);
}

TEST_F(MemoryDevice, IsAnotherOneInAnotherInstance) {
    const OpenFile here(open("/dev/mem", O_RDWR));
    ASSERT_EQ(pwrite64(here, "x", 1, 0), 1);
    const OwnInstance other;
    mVariable.set(other.name());
    const OpenFile there(open("/dev/mem", O_RDWR));
    char byte = 'y';
    ASSERT_EQ(pread64(there, &byte, 1, 0), 1);
    EXPECT_EQ(byte, '\0');
}

TEST_F(MemoryDevice, OpensInAForkedChildWhileAnotherThreadOpensIt) {
    std::atomic<bool> stop{false};
    std::thread opener([&] {
        while (!stop) {
            const OpenFile memory(open("/dev/mem", O_RDWR | O_CLOEXEC));
        }
    });
    std::string results;
    for (int i = 0; i < 20; ++i)
        results += inForkedChild([] { return open("/dev/mem", O_RDWR) >= 0 ? "+" : "-"; });
    stop = true;
    opener.join();
    EXPECT_EQ(results, std::string(20, '+'));
}

// ---- Cache --------------------------------------------------------------------------------------

class CacheDevice : public InAnInstance {
protected:
    OpenFile mCache{open("/dev/cache", O_RDWR)};
    std::uint32_t mChunk[2] = {0x1000, 64};
};

TEST_F(CacheDevice, AcceptsItsTwoRequests) {
    EXPECT_EQ(ioctl(mCache, 0x40084304, mChunk), 0);
    EXPECT_EQ(ioctl(mCache, 0x40084303, mChunk), 0);
    EXPECT_EQ(__ioctl_time64(mCache, 0x40084304, mChunk), 0);
    EXPECT_EQ(__ioctl_time64(mCache, 0x40084303, mChunk), 0);
}

TEST_F(CacheDevice, RefusesOtherRequests) {
    for (const unsigned long request : {0x40084302UL, 0x40084305UL, 0x80084304UL, 0x40044304UL}) {
        errno = 0;
        EXPECT_EQ(ioctl(mCache, request, mChunk), -1) << std::hex << request;
        EXPECT_EQ(errno, ENOTTY) << std::hex << request;
    }
}

TEST_F(CacheDevice, AcceptsRequestsThroughCopiesOfItsDescriptor) {
    const OpenFile copy(dup(mCache));
    EXPECT_EQ(ioctl(copy, 0x40084304, mChunk), 0);
    const auto inChild = [&] { return ioctl(mCache, 0x40084303, mChunk) == 0 ? "0" : "refused"; };
    EXPECT_EQ(inForkedChild(inChild), "0");
}

TEST_F(CacheDevice, RefusesRequestsWhenItsDescriptorNumberIsReused) {
    const int number = mCache;
    const OpenFile null(open("/dev/null", O_RDWR));
    ASSERT_EQ(dup2(null, number), number);
    EXPECT_EQ(ioctl(number, 0x40084304, mChunk), -1);
}

TEST_F(CacheDevice, IsNotMistakenForAnotherFileInMemory) {
    const OpenFile other(memfd_create("other", MFD_ALLOW_SEALING));
    ASSERT_EQ(write(other, "cabinaudio-cache\n", 18), 18);
    EXPECT_EQ(ioctl(other, 0x40084304, mChunk), -1);
    const OpenFile memory(open("/dev/mem", O_RDWR));
    EXPECT_EQ(ioctl(memory, 0x40084304, mChunk), -1);
}

TEST_F(CacheDevice, KeepsErrnoOnSuccess) {
    errno = E2BIG;
    EXPECT_EQ(ioctl(mCache, 0x40084304, mChunk), 0);
    EXPECT_EQ(errno, E2BIG);
}

TEST(Ioctl, OnAnyOtherFileGoesToTheKernel) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const OpenFile readEnd(ends[0]);
    const OpenFile writeEnd(ends[1]);
    ASSERT_EQ(write(writeEnd, "four", 4), 4);
    int waiting = 0;
    EXPECT_EQ(ioctl(readEnd, FIONREAD, &waiting), 0);
    EXPECT_EQ(waiting, 4);
    EXPECT_EQ(ioctl(readEnd, 0x40084304, &waiting), -1);
    EXPECT_EQ(ioctl(-1, 0x40084304, &waiting), -1);
    EXPECT_EQ(ioctl(-1, FIONREAD, &waiting), -1);
    EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace cabinaudio::test
