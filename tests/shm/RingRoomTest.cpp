// SPDX-License-Identifier: Apache-2.0
// A ring that is larger than the file system of shared memory has room for: it is refused before
// any of that room is taken, which others need.
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"
#include "tests/support/Row.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>

namespace cabinaudio::test {
namespace {

constexpr unsigned BLOCK = 4096;
/// The largest ring that a server can grant on 32 bits, and more.
constexpr unsigned HUGE_SIZE = 0x70000000;

class LargeRing : public RingFixture {
protected:
    const LogCapture log;
    const Calls calls;

    [[nodiscard]] std::size_t reservations() const { return calls.of("fallocate").size(); }

    void expectRefused(unsigned size) {
        EXPECT_FALSE(posix(size)->isUsable()) << size;
        const std::string line = "mmap(" + posixName() + ", " + std::to_string(size + 64) +
                                 ") failed:" + std::strerror(ENOSPC) + "\n";
        EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "createShmMap", line));
        EXPECT_EQ(reservations(), 0u) << "memory of others was taken";
    }
    void expectUsable(unsigned size) {
        EXPECT_TRUE(posix(size)->isUsable()) << size << log.dump();
        EXPECT_EQ(reservations(), 1u);
    }
};

struct Space : Row {
    std::uint64_t blocks;  // of the file system, 0: it has no limit
    std::uint64_t free;
    unsigned long blockSize;
    unsigned size;  // of the ring
    bool suffices;
};

class LargeRingIn : public LargeRing, public ::testing::WithParamInterface<Space> {};

TEST_P(LargeRingIn, IsMadeIfTheFreeSpaceSuffices) {
    const Space& space = GetParam();
    const Room room(space.blocks, space.free, space.blockSize);
    if (space.suffices)
        expectUsable(space.size);
    else
        expectRefused(space.size);
}

constexpr std::uint64_t MOST = ~std::uint64_t{0};
constexpr Space SPACES[] = {
    {"NoSpace", 1U << 20, 16, BLOCK, HUGE_SIZE, false},
    {"OneByteTooLittle", 100, 16, BLOCK, 16 * BLOCK - 64 + 1, false},
    {"JustEnough", 100, 16, BLOCK, 16 * BLOCK - 64, true},
    {"JustEnoughLargeBlocks", 100, 2, 32768, 2 * 32768 - 64, true},
    {"NoLimit", 0, 0, 0, 64 * BLOCK, true},
    {"MoreBlocksThan32Bits", MOST, std::uint64_t{1} << 32, BLOCK, 64 * BLOCK, true},
    {"MoreBytesThan64Bits", MOST, MOST / BLOCK + 1, BLOCK, 64 * BLOCK, true},
    {"TheMostBlocks", MOST, MOST, BLOCK, 64 * BLOCK, true},
};

INSTANTIATE_TEST_SUITE_P(Spaces, LargeRingIn, ::testing::ValuesIn(SPACES), ROW_NAME);

TEST_F(LargeRing, NeedsNoSpaceThatItsCreatorHasReserved) {
    const auto creator = posix(16 * BLOCK);
    const Room room(100, 0);
    EXPECT_TRUE(posix(16 * BLOCK, 0)->isUsable()) << log.dump();
}

TEST_F(LargeRing, IsRefusedWhenItsCreatorHasReservedTooLittle) {
    const auto creator = posix(16 * BLOCK);
    const std::size_t before = reservations();
    const Room room(100, 15);
    EXPECT_FALSE(posix(32 * BLOCK, 0)->isUsable());
    EXPECT_EQ(reservations(), before);
}

TEST_F(LargeRing, IsMadeWhereTheFreeSpaceIsUnknown) {
    for (const int error : {EIO, ENOSYS}) {
        const Failing fstatvfs("fstatvfs", error);
        EXPECT_TRUE(posix(64 * BLOCK)->isUsable()) << log.dump();
        EXPECT_TRUE(fstatvfs.happened());
    }
}

TEST_F(LargeRing, InPhysicalMemoryNeedsSpaceForItsHeaderOnly) {
    const Room room(100, 1);
    EXPECT_TRUE(physical(64 * BLOCK)->isUsable()) << log.dump();
}

constexpr int NO_OWN_MACHINE = 77;

/// Runs `body` in a process with 16 MiB of shared memory of its own. @return its exit status
int inSmallSharedMemory(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const bool isSmall = unshare(CLONE_NEWNS) == 0 &&
                             mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                             mount("none", "/dev/shm", "tmpfs", 0, "size=16m") == 0;
        if (!isSmall) _exit(NO_OWN_MACHINE);
        body();
        std::fflush(nullptr);
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(LargeRing, IsRefusedOnARealFileSystemWithoutSpace) {
    const int status = inSmallSharedMemory([this] {
        ShareMemoryEx other(SHM_TYPE_POSIX_SHM, "other", nullptr, 8 << 20, SHM_MODE_CREATOR,
                            nullptr);
        EXPECT_TRUE(other.isUsable());
        const std::size_t before = reservations();
        EXPECT_FALSE(posix(12 << 20)->isUsable());
        EXPECT_FALSE(posix(HUGE_SIZE)->isUsable());
        EXPECT_EQ(reservations(), before) << log.dump();
        EXPECT_TRUE(posix(7 << 20)->isUsable()) << log.dump();
    });
    if (status == NO_OWN_MACHINE) GTEST_SKIP() << "only the superuser has a /dev/shm of his own";
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace cabinaudio::test
