// SPDX-License-Identifier: Apache-2.0
// Log lines and behaviour of a ring when calls of the platform fail.
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

namespace cabinaudio::test {
namespace {

class RefusedRing : public RingFixture {
protected:
    const ProcessState before = ProcessState::now();
    const LogCapture log;

    void TearDown() override { EXPECT_TRUE(returnsTo(before)) << log.dump(); }

    /// The line, logged by the ring's construction.
    void expectFromCreation(int priority, const std::string& message) const {
        EXPECT_TRUE(logged(log, priority, "ShareMemory", "createShmMap", message));
    }
    void expectFromDestruction(int priority, const std::string& message, unsigned times = 1) const {
        EXPECT_TRUE(logged(log, priority, "ShareMemory", "destroyShmMap", message, times));
    }
    void expectNoSuccess() const { EXPECT_TRUE(loggedLike(log, INFO, ".*\n", 0)); }
};

using InertRing = RefusedRing;
using UsableRing = RefusedRing;

constexpr char NOT_UNLINKED[] = "AUDIO IGNORE(0==shm_unlink(hdl->name))!\n";

void expectInert(ShareMemoryEx& ring) {
    unsigned char bytes[4] = {};
    EXPECT_FALSE(ring.isUsable());
    EXPECT_EQ(ring.getTotalSize(), 0u);
    EXPECT_EQ(ring.getUsedSize(), 0u);
    EXPECT_EQ(ring.getFreeSize(), 0u);
    EXPECT_EQ(ring.getReadOffset(), 0u);
    EXPECT_EQ(ring.getWriteOffset(), 0u);
    EXPECT_EQ(ring.read(bytes, sizeof(bytes)), 0);
    EXPECT_EQ(ring.write(bytes, sizeof(bytes)), 0);
    EXPECT_EQ(ring.write(bytes, 0), 0);
    ring.updateReadOffset(3);
    ring.updateWriteOffset(3);
    EXPECT_EQ(ring.getReadOffset(), 0u);
    EXPECT_EQ(ring.getWriteOffset(), 0u);
    audio_buffer_provider_t buffer = {bytes, 17};
    ring.getNextBuffer(buffer);
    EXPECT_EQ(buffer.data, bytes);
    EXPECT_EQ(buffer.length, 17u);
    ring.releaseBuffer(buffer);
    ring.clear();
}

std::string errorText(int error) {
    return std::strerror(error);
}

TEST_F(InertRing, ResultsFromAnUnknownType) {
    Notifications notifications;
    {
        ShareMemoryEx ring(static_cast<shm_type_t>(3), "three", nullptr, 16, 3, &notifications);
        expectInert(ring);
    }
    expectFromCreation(ERROR, "invalid type:3\n");
    expectFromDestruction(ERROR, "invalid type:3\n");
    expectNoSuccess();
    EXPECT_EQ(log.lines().size(), 3u) << log.dump();  // and that it is deleted
}

TEST_F(InertRing, LogsAnUnknownTypeSignedAndUnsigned) {
    { const ShareMemoryEx ring(static_cast<shm_type_t>(0xfffffffe), "x", nullptr, 16, 3, nullptr); }
    expectFromCreation(ERROR, "invalid type:-2\n");
    expectFromDestruction(ERROR, "invalid type:4294967294\n");
}

struct Refusal : Row {
    const char* function;  // of the platform, which fails; null: the ring is too large
    int error;
    unsigned passed;  // calls of it that still work before
    bool isPhysical;
    unsigned size;
    bool hasObject;
    const char* call;  // as logged; @ stands for the object's name
};

class InertRingFor : public InertRing, public ::testing::WithParamInterface<Refusal> {};

TEST_P(InertRingFor, IsLoggedAndLeavesNothingMapped) {
    const Refusal& row = GetParam();
    Notifications notifications;
    {
        std::optional<Failing> failing;
        if (row.function != nullptr) failing.emplace(row.function, row.error, row.passed);
        expectInert(*(row.isPhysical ? physical(row.size, 3, &notifications)
                                     : posix(row.size, 3, &notifications)));
        EXPECT_TRUE(!failing || failing->happened());
    }
    std::string call = row.call;
    if (const std::size_t at = call.find('@'); at != std::string::npos)
        call.replace(at, 1, nameOf(row.isPhysical));
    expectFromCreation(ERROR, call + " failed:" + errorText(row.error) + "\n");
    expectFromDestruction(DEBUG, NOT_UNLINKED, row.hasObject ? 0 : 1);
    expectNoSuccess();
}

constexpr bool POSIX_RING = false;
constexpr bool PHYSICAL_RING = true;
constexpr Refusal REFUSALS[] = {
    {"NoMemoryDevice", "open", EACCES, 0, PHYSICAL_RING, 16, false, "open(/dev/mem)"},
    {"NoObject", "shm_open", EMFILE, 0, PHYSICAL_RING, 16, false, "shm_open(@)"},
    {"NoMapping", "mmap", ENOMEM, 0, POSIX_RING, 100, true, "mmap(@, 164)"},
    {"NoMappingOfTheHeader", "mmap", ENOMEM, 1, PHYSICAL_RING, 100, true, "mmap(@, 64)"},
    {"NoSpace", "fallocate", ENOSPC, 0, POSIX_RING, 100, true, "mmap(@, 164)"},
    {"NoMemory", "fallocate", ENOMEM, 0, POSIX_RING, 100, true, "mmap(@, 164)"},
    {"NoQuota", "fallocate", EDQUOT, 0, POSIX_RING, 100, true, "mmap(@, 164)"},
    {"NoSuchLength", "fallocate", EFBIG, 0, POSIX_RING, 100, true, "mmap(@, 164)"},
    {"NoSpaceForTheHeader", "fallocate", ENOSPC, 0, PHYSICAL_RING, 100, true, "mmap(@, 64)"},
    {"ASizeBeyond32Bits", nullptr, EOVERFLOW, 0, POSIX_RING, 0xffffffff, true, "mmap(@, 63)"},
};

INSTANTIATE_TEST_SUITE_P(Refused, InertRingFor, ::testing::ValuesIn(REFUSALS), ROW_NAME);

TEST_F(InertRing, LogsAPhysicalMappingThatIsRefused) {
    {
        const Failing mmap("mmap", EPERM);
        expectInert(*physical(17));
        EXPECT_TRUE(mmap.happened());
    }
    {
        ShareMemoryEx none(SHM_TYPE_PHYS_MEM, "x", addressOf(0x1000), 0, 1, nullptr);
        expectInert(none);
    }
    const auto refused = [](int error, const std::string& request) {
        return "mmap for phys memory failed\\(errno=" + std::to_string(error) + "/" +
               errorText(error) + "\\),phys:" + request + " pagesize:[0-9]+\n";
    };
    EXPECT_TRUE(loggedLike(log, ERROR, refused(EPERM, "0x10000040 size:17")));
    EXPECT_TRUE(loggedLike(log, ERROR, refused(EINVAL, "0x1000 size:0")));
    expectNoSuccess();
}

TEST_F(InertRing, ResultsFromAnImpossibleName) {
    {
        ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, "a/b", nullptr, 16, 1, nullptr);
        expectInert(ring);
    }
    expectFromCreation(ERROR, "shm_open(a/b) failed:" + errorText(EINVAL) + "\n");
    expectFromDestruction(DEBUG, NOT_UNLINKED);
}

TEST_F(InertRing, ResultsFromAMissingName) {
    {
        ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, nullptr, nullptr, 16, 1, nullptr);
        expectInert(ring);
    }
    EXPECT_TRUE(loggedLike(log, ERROR, "shm_open\\(\\) failed:.*\n"));
}

TEST_F(UsableRing, ResultsWhereMemoryCannotBeReserved) {
    for (const int error : {EOPNOTSUPP, ENOSYS, EPERM}) {
        const Failing fallocate("fallocate", error);
        EXPECT_TRUE(posix(100)->isUsable());
        EXPECT_TRUE(fallocate.happened());
    }
}

TEST_F(UsableRing, RepeatsTheReservationAfterASignal) {
    const Failing fallocate("fallocate", EINTR);
    const Calls calls;
    EXPECT_TRUE(posix(100)->isUsable());
    EXPECT_EQ(calls.of("fallocate").size(), 2u);
}

TEST_F(UsableRing, ResultsFromAnObjectWhoseLengthCannotBeSet) {
    {
        const Failing ftruncate("ftruncate", EPERM);
        EXPECT_TRUE(posix(100)->isUsable());
        EXPECT_TRUE(ftruncate.happened());
    }
    expectFromCreation(DEBUG, "AUDIO IGNORE(0==ftruncate(fd, len))!\n");
    physical(100);  // the memory stand-in sets a length once, too
    {
        const Failing ftruncate("ftruncate", EPERM);
        EXPECT_TRUE(physical(100)->isUsable());
        EXPECT_TRUE(ftruncate.happened());
    }
    expectFromCreation(DEBUG, "AUDIO IGNORE(0==ftruncate(fd, sizeof(*hdl->hdr)))!\n");
}

TEST_F(UsableRing, HasNoReceiverWithoutTheCacheDevice) {
    Notifications notifications;
    {
        const Failing open("open", ENOENT, 1);
        const auto ring = physical(16, 3, &notifications);
        EXPECT_TRUE(open.happened());
        EXPECT_TRUE(ring->isUsable());
        EXPECT_EQ(ProcessState::now().threads, before.threads);
        expectFromCreation(ERROR, "open /dev/cache failed\n");
        expectNoSuccess();

        const Object object(physicalName(), 64);
        EXPECT_EQ(object.header().readNotify, 0);
        const auto bytes = pattern(8);
        std::vector<unsigned char> out(8);
        EXPECT_EQ(ring->write(bytes.data(), 8), 8);
        EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "cache_clean", "invalid gCachefd\n"));
        ring->updateReadOffset(10);
        ring->updateWriteOffset(10);
        EXPECT_EQ(ring->write(bytes.data(), 8), 8);
        EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "cache_clean", "invalid gCachefd\n", 3));
        EXPECT_EQ(ring->read(out.data(), 8), 8);
        EXPECT_EQ(out, bytes);
        EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "cache_invalidate", "invalid gCachefd\n", 2));
    }
    EXPECT_TRUE(loggedLike(log, ERROR, "munmap.*\n", 0));
}

TEST_F(UsableRing, CopiesWhenACacheRequestFails) {
    const auto ring = physical(16);
    const auto bytes = pattern(8);
    std::vector<unsigned char> out(8);
    {
        const Failing ioctl("ioctl", EIO);
        EXPECT_EQ(ring->write(bytes.data(), 8), 8);
        EXPECT_TRUE(ioctl.happened());
    }
    {
        const Failing ioctl("ioctl", EIO);
        EXPECT_EQ(ring->read(out.data(), 8), 8);
        EXPECT_TRUE(ioctl.happened());
    }
    EXPECT_EQ(out, bytes);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "cache_clean", "cache clean failed(-1)\n"));
    EXPECT_TRUE(
        logged(log, ERROR, "ShareMemory", "cache_invalidate", "cache invalidate failed(-1)\n"));
}

TEST_F(UsableRing, LogsALostPost) {
    const auto ring = posix(16);
    const Object object(posixName(), 64);
    wire::RingHeader& header = object.header();
    header.readNotify = header.writeNotify = 1;
    header.readSem.word[0] = header.writeSem.word[0] = 0xfffffffe;
    unsigned char bytes[4] = {};
    const std::string lost = "sem_post failed:" + errorText(EOVERFLOW) + "\n";

    EXPECT_EQ(ring->write(bytes, 4), 4);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "write", lost));
    EXPECT_EQ(ring->write(bytes, 4), 4);
    EXPECT_EQ(ring->write(bytes, 4), 4);
    EXPECT_EQ(ring->write(bytes, 4), 3);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "write", lost, 4));
    EXPECT_EQ(ring->read(bytes, 4), 4);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "read", lost));
    ring->updateWriteOffset(2);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "updateWriteOffset", lost));
    ring->updateReadOffset(2);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "updateReadOffset", lost, 0));
    ring->setWait(true);
    ring->updateReadOffset(2);
    EXPECT_TRUE(logged(log, ERROR, "ShareMemory", "updateReadOffset", lost));
    header.readNotify = header.writeNotify = 0;
}

/// Destroys a ring such that the unmapping after `passed` others fails, and makes up for it.
void destroyWithoutUnmapping(std::unique_ptr<ShareMemoryEx> ring, unsigned passed) {
    const Calls calls;
    {
        const Failing failing("munmap", EINVAL, passed);
        ring.reset();
        EXPECT_TRUE(failing.happened());
    }
    const Call call = calls.of("munmap").at(passed);
    EXPECT_EQ(munmap(reinterpret_cast<void*>(static_cast<std::uintptr_t>(call.third)),
                     static_cast<std::size_t>(call.first)),
              0);
}

TEST_F(UsableRing, LogsWhatStaysMapped) {
    const std::string failed = "\\) failed:" + errorText(EINVAL) + "\n";
    destroyWithoutUnmapping(posix(100), 0);
    EXPECT_TRUE(loggedLike(log, ERROR, "munmap\\(0x[0-9a-f]+, 164" + failed));
    destroyWithoutUnmapping(physical(100), 1);
    EXPECT_TRUE(loggedLike(log, ERROR, "munmap\\(0x[0-9a-f]+, 64" + failed));
    destroyWithoutUnmapping(physical(100), 0);
    EXPECT_TRUE(loggedLike(log, ERROR,
                           "munmap failed virt=\\[0x[0-9a-f]+/0x[0-9a-f]+\\], "
                           "size=\\[100/[0-9]+\\]\n"));
    EXPECT_TRUE(loggedLike(log, ERROR, ".*", 3));
}

TEST_F(UsableRing, LogsThatItsNameWasRemovedBefore) {
    {
        const auto ring = posix(16);
        Object::remove(posixName());
    }
    expectFromDestruction(DEBUG, NOT_UNLINKED);
    {
        const auto ring = physical(16);
        Object::remove(physicalName());
    }
    EXPECT_TRUE(logged(log, DEBUG, NOT_UNLINKED, 2));
}

#if __WORDSIZE == 32  // elsewhere the slots' semaphores cannot refuse these

TEST_F(UsableRing, LogsSemaphoresThatCannotBeInitialised) {
    {
        const Failing semInit("sem_init", EINVAL);
        EXPECT_TRUE(posix(16)->isUsable());
    }
    expectFromCreation(DEBUG, "AUDIO IGNORE(0==sem_init((sem_t *)&hdl->hdr->readSem, 1, 0))!\n");
    {
        const Failing semInit("sem_init", EINVAL, 1);
        EXPECT_TRUE(posix(16)->isUsable());
    }
    expectFromCreation(DEBUG, "AUDIO IGNORE(0==sem_init((sem_t *)&hdl->hdr->writeSem, 1, 0))!\n");
}

TEST_F(UsableRing, LogsSemaphoresThatCannotBeDestroyed) {
    Notifications notifications;
    {
        auto ring = posix(16, 1, &notifications);
        const Failing semDestroy("sem_destroy", EINVAL);
        ring.reset();
    }
    expectFromDestruction(DEBUG, "AUDIO IGNORE(0==sem_destroy((sem_t *)&hdl->hdr->readSem))!\n");
    {
        auto ring = posix(16, 1, &notifications);
        const Failing semDestroy("sem_destroy", EINVAL, 1);
        ring.reset();
    }
    expectFromDestruction(DEBUG, "AUDIO IGNORE(0==sem_destroy((sem_t *)&hdl->hdr->writeSem))!\n");
}

TEST_F(UsableRing, DestroysItsSemaphoresOnlyAsACreatorWithACallback) {
    Notifications notifications;
    {
        const Failing semDestroy("sem_destroy", EINVAL);
        posix(16, 1);
        posix(16, 2, &notifications);
        EXPECT_FALSE(semDestroy.happened());
    }
    EXPECT_TRUE(loggedLike(log, DEBUG, "AUDIO IGNORE\\(0==sem_destroy.*\n", 0));
}

#endif

}  // namespace
}  // namespace cabinaudio::test
