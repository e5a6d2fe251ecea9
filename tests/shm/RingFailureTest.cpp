// SPDX-License-Identifier: Apache-2.0
// What a ring says and does when the platform refuses.
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessState.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio::test {
namespace {

class AFailing : public Ring {
protected:
    const ProcessState before = ProcessState::now();
    const LogCapture log;

    void TearDown() override { EXPECT_TRUE(returnsTo(before)) << log.dump(); }

    /// The line, told by the ring's construction.
    void expectFromCreation(int priority, const std::string& message) const {
        EXPECT_EQ(log.count(priority, "ShareMemory", "createShmMap", message), 1u) << log.dump();
    }
    void expectFromDestruction(int priority, const std::string& message) const {
        EXPECT_EQ(log.count(priority, "ShareMemory", "destroyShmMap", message), 1u) << log.dump();
    }
    void expectNoSuccess() const { EXPECT_EQ(log.countMatching(kInfo, ".*\n"), 0u) << log.dump(); }
};

class AnInertRing : public AFailing {};
class AUsableRing : public AFailing {};

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

}  // namespace

TEST_F(AnInertRing, IsOneOfAnUnknownType) {
    Notifications notifications;
    {
        ShareMemoryEx ring(static_cast<shm_type_t>(3), "three", nullptr, 16, 3, &notifications);
        expectInert(ring);
    }
    expectFromCreation(kError, "invalid type:3\n");
    expectFromDestruction(kError, "invalid type:3\n");
    expectNoSuccess();
    EXPECT_EQ(log.lines().size(), 3u) << log.dump();  // and that it is deleted
}

TEST_F(AnInertRing, PrintsAnUnknownTypeSignedAndUnsigned) {
    { const ShareMemoryEx ring(static_cast<shm_type_t>(0xfffffffe), "x", nullptr, 16, 3, nullptr); }
    expectFromCreation(kError, "invalid type:-2\n");
    expectFromDestruction(kError, "invalid type:4294967294\n");
}

TEST_F(AnInertRing, HasNoMemoryDevice) {
    Notifications notifications;
    {
        const Failing open("open", EACCES);
        const auto ring = physical(16, 3, &notifications);
        EXPECT_TRUE(open.happened());
        expectInert(*ring);
    }
    expectFromCreation(kError, "open(/dev/mem) failed:" + errorText(EACCES) + "\n");
    expectFromDestruction(kDebug, "AUDIO IGNORE(0==shm_unlink(hdl->name))!\n");
    expectNoSuccess();
}

TEST_F(AnInertRing, CannotMapItsPhysicalMemory) {
    {
        const Failing mmap("mmap", EPERM);
        expectInert(*physical(17));
        EXPECT_TRUE(mmap.happened());
    }
    EXPECT_EQ(
        log.countMatching(kError, "mmap for phys memory failed\\(errno=1/" + errorText(EPERM) +
                                      "\\),phys:0x10000040 size:17 pagesize:[0-9]+\n"),
        1u)
        << log.dump();
    expectNoSuccess();
}

TEST_F(AnInertRing, HasNoPhysicalMemoryAtAll) {
    {
        expectInert(*std::make_unique<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, "x", addressOf(0x1000), 0,
                                                     1, nullptr));
    }
    EXPECT_EQ(
        log.countMatching(kError, "mmap for phys memory failed\\(errno=22/" + errorText(EINVAL) +
                                      "\\),phys:0x1000 size:0 pagesize:[0-9]+\n"),
        1u)
        << log.dump();
}

TEST_F(AnInertRing, HasAnImpossibleName) {
    {
        ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, "a/b", nullptr, 16, 1, nullptr);
        expectInert(ring);
    }
    expectFromCreation(kError, "shm_open(a/b) failed:" + errorText(EINVAL) + "\n");
    expectFromDestruction(kDebug, "AUDIO IGNORE(0==shm_unlink(hdl->name))!\n");
}

TEST_F(AnInertRing, HasNoName) {
    {
        ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, nullptr, nullptr, 16, 1, nullptr);
        expectInert(ring);
    }
    EXPECT_EQ(log.countMatching(kError, "shm_open\\(\\) failed:.*\n"), 1u) << log.dump();
}

TEST_F(AnInertRing, UnmapsItsPhysicalMemoryWhenItHasNoHeader) {
    {
        const Failing shmOpen("shm_open", EMFILE);
        expectInert(*physical(16));
        EXPECT_TRUE(shmOpen.happened());
    }
    expectFromCreation(kError,
                       "shm_open(" + physicalName() + ") failed:" + errorText(EMFILE) + "\n");
    expectNoSuccess();
}

TEST_F(AnInertRing, CannotMapItsObject) {
    {
        const Failing mmap("mmap", ENOMEM);
        expectInert(*posix(100));
        EXPECT_TRUE(mmap.happened());
    }
    expectFromCreation(kError, "mmap(" + posixName() + ", 164) failed:" + errorText(ENOMEM) + "\n");
    expectNoSuccess();
}

TEST_F(AnInertRing, CannotMapItsHeader) {
    {
        const Failing mmap("mmap", ENOMEM, 1);
        expectInert(*physical(100));
        EXPECT_TRUE(mmap.happened());
    }
    expectFromCreation(kError,
                       "mmap(" + physicalName() + ", 64) failed:" + errorText(ENOMEM) + "\n");
    expectNoSuccess();
}

TEST_F(AnInertRing, FindsSharedMemoryFull) {
    for (const int error : {ENOSPC, ENOMEM, EDQUOT, EFBIG}) {
        Notifications notifications;
        const Failing fallocate("fallocate", error);
        expectInert(*posix(100, 3, &notifications));
        EXPECT_TRUE(fallocate.happened());
        expectFromCreation(kError,
                           "mmap(" + posixName() + ", 164) failed:" + errorText(error) + "\n");
    }
    {
        const Failing fallocate("fallocate", ENOSPC);
        expectInert(*physical(100));
    }
    expectFromCreation(kError,
                       "mmap(" + physicalName() + ", 64) failed:" + errorText(ENOSPC) + "\n");
    expectNoSuccess();
}

TEST_F(AnInertRing, IsTooLargeForItsHeader) {
    { expectInert(*posix(0xffffffff)); }
    expectFromCreation(kError,
                       "mmap(" + posixName() + ", 63) failed:" + errorText(EOVERFLOW) + "\n");
    expectNoSuccess();
}

TEST_F(AUsableRing, IsMadeWhereMemoryCannotBeSetAside) {
    for (const int error : {EOPNOTSUPP, ENOSYS, EPERM}) {
        const Failing fallocate("fallocate", error);
        EXPECT_TRUE(posix(100)->isUsable());
        EXPECT_TRUE(fallocate.happened());
    }
}

TEST_F(AUsableRing, IsSetAsideAgainAfterASignal) {
    const Failing fallocate("fallocate", EINTR);
    const Calls calls;
    EXPECT_TRUE(posix(100)->isUsable());
    EXPECT_EQ(calls.of("fallocate").size(), 2u);
}

TEST_F(AUsableRing, IsMadeOfAnObjectWhoseLengthCannotBeSet) {
    {
        const Failing ftruncate("ftruncate", EPERM);
        EXPECT_TRUE(posix(100)->isUsable());
        EXPECT_TRUE(ftruncate.happened());
    }
    expectFromCreation(kDebug, "AUDIO IGNORE(0==ftruncate(fd, len))!\n");
    physical(100);  // the memory stand-in sets a length once, too
    {
        const Failing ftruncate("ftruncate", EPERM);
        EXPECT_TRUE(physical(100)->isUsable());
        EXPECT_TRUE(ftruncate.happened());
    }
    expectFromCreation(kDebug, "AUDIO IGNORE(0==ftruncate(fd, sizeof(*hdl->hdr)))!\n");
}

TEST_F(AUsableRing, HasNoCacheDeviceAndThenNoReceiver) {
    Notifications notifications;
    {
        const Failing open("open", ENOENT, 1);
        const auto ring = physical(16, 3, &notifications);
        EXPECT_TRUE(open.happened());
        EXPECT_TRUE(ring->isUsable());
        EXPECT_EQ(ProcessState::now().threads, before.threads);
        expectFromCreation(kError, "open /dev/cache failed\n");
        expectNoSuccess();

        const Object object(physicalName(), 64);
        EXPECT_EQ(object.header().readNotify, 0);
        const auto bytes = pattern(8);
        std::vector<unsigned char> out(8);
        EXPECT_EQ(ring->write(bytes.data(), 8), 8);
        EXPECT_EQ(log.count(kError, "ShareMemory", "cache_clean", "invalid gCachefd\n"), 1u);
        ring->updateReadOffset(10);
        ring->updateWriteOffset(10);
        EXPECT_EQ(ring->write(bytes.data(), 8), 8);
        EXPECT_EQ(log.count(kError, "ShareMemory", "cache_clean", "invalid gCachefd\n"), 3u);
        EXPECT_EQ(ring->read(out.data(), 8), 8);
        EXPECT_EQ(out, bytes);
        EXPECT_EQ(log.count(kError, "ShareMemory", "cache_invalidate", "invalid gCachefd\n"), 2u);
    }
    EXPECT_EQ(log.countMatching(kError, "munmap.*\n"), 0u);
}

TEST_F(AUsableRing, CopiesAlthoughTheCacheRefuses) {
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
    EXPECT_EQ(log.count(kError, "ShareMemory", "cache_clean", "cache clean failed(-1)\n"), 1u);
    EXPECT_EQ(log.count(kError, "ShareMemory", "cache_invalidate", "cache invalidate failed(-1)\n"),
              1u);
}

TEST_F(AUsableRing, TellsThatAPostIsLost) {
    const auto ring = posix(16);
    const Object object(posixName(), 64);
    wire::RingHeader& header = object.header();
    header.readNotify = header.writeNotify = 1;
    header.readSem.word[0] = header.writeSem.word[0] = 0xfffffffe;
    unsigned char bytes[4] = {};
    const std::string lost = "sem_post failed:" + errorText(EOVERFLOW) + "\n";

    EXPECT_EQ(ring->write(bytes, 4), 4);
    EXPECT_EQ(log.count(kError, "ShareMemory", "write", lost), 1u) << log.dump();
    EXPECT_EQ(ring->write(bytes, 4), 4);
    EXPECT_EQ(ring->write(bytes, 4), 4);
    EXPECT_EQ(ring->write(bytes, 4), 3);
    EXPECT_EQ(log.count(kError, "ShareMemory", "write", lost), 4u) << log.dump();
    EXPECT_EQ(ring->read(bytes, 4), 4);
    EXPECT_EQ(log.count(kError, "ShareMemory", "read", lost), 1u) << log.dump();
    ring->updateWriteOffset(2);
    EXPECT_EQ(log.count(kError, "ShareMemory", "updateWriteOffset", lost), 1u) << log.dump();
    ring->updateReadOffset(2);
    EXPECT_EQ(log.count(kError, "ShareMemory", "updateReadOffset", lost), 0u) << log.dump();
    ring->setWait(true);
    ring->updateReadOffset(2);
    EXPECT_EQ(log.count(kError, "ShareMemory", "updateReadOffset", lost), 1u) << log.dump();
    header.readNotify = header.writeNotify = 0;
}

namespace {

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

}  // namespace

TEST_F(AUsableRing, TellsThatItsObjectStaysMapped) {
    destroyWithoutUnmapping(posix(100), 0);
    EXPECT_EQ(log.countMatching(kError,
                                "munmap\\(0x[0-9a-f]+, 164\\) failed:" + errorText(EINVAL) + "\n"),
              1u)
        << log.dump();
}

TEST_F(AUsableRing, TellsThatItsHeaderStaysMapped) {
    destroyWithoutUnmapping(physical(100), 1);
    EXPECT_EQ(
        log.countMatching(kError, "munmap\\(0x[0-9a-f]+, 64\\) failed:" + errorText(EINVAL) + "\n"),
        1u)
        << log.dump();
}

TEST_F(AUsableRing, TellsThatItsPhysicalMemoryStaysMapped) {
    destroyWithoutUnmapping(physical(100), 0);
    EXPECT_EQ(log.countMatching(kError,
                                "munmap failed virt=\\[0x[0-9a-f]+/0x[0-9a-f]+\\], "
                                "size=\\[100/[0-9]+\\]\n"),
              1u)
        << log.dump();
}

TEST_F(AUsableRing, TellsThatItsNameWasGone) {
    {
        const auto ring = posix(16);
        Object::remove(posixName());
    }
    expectFromDestruction(kDebug, "AUDIO IGNORE(0==shm_unlink(hdl->name))!\n");
    {
        const auto ring = physical(16);
        Object::remove(physicalName());
    }
    EXPECT_EQ(log.count(kDebug, "AUDIO IGNORE(0==shm_unlink(hdl->name))!\n"), 2u) << log.dump();
}

#if __WORDSIZE == 32  // elsewhere the slots' semaphores cannot refuse these

TEST_F(AUsableRing, TellsThatItsSemaphoresAreNotInitialised) {
    {
        const Failing semInit("sem_init", EINVAL);
        EXPECT_TRUE(posix(16)->isUsable());
    }
    expectFromCreation(kDebug, "AUDIO IGNORE(0==sem_init((sem_t *)&hdl->hdr->readSem, 1, 0))!\n");
    {
        const Failing semInit("sem_init", EINVAL, 1);
        EXPECT_TRUE(posix(16)->isUsable());
    }
    expectFromCreation(kDebug, "AUDIO IGNORE(0==sem_init((sem_t *)&hdl->hdr->writeSem, 1, 0))!\n");
}

TEST_F(AUsableRing, TellsThatItsSemaphoresAreNotDestroyed) {
    Notifications notifications;
    {
        auto ring = posix(16, 1, &notifications);
        const Failing semDestroy("sem_destroy", EINVAL);
        ring.reset();
    }
    expectFromDestruction(kDebug, "AUDIO IGNORE(0==sem_destroy((sem_t *)&hdl->hdr->readSem))!\n");
    {
        auto ring = posix(16, 1, &notifications);
        const Failing semDestroy("sem_destroy", EINVAL, 1);
        ring.reset();
    }
    expectFromDestruction(kDebug, "AUDIO IGNORE(0==sem_destroy((sem_t *)&hdl->hdr->writeSem))!\n");
}

TEST_F(AUsableRing, DestroysItsSemaphoresOnlyAsACreatorWithACallback) {
    Notifications notifications;
    {
        const Failing semDestroy("sem_destroy", EINVAL);
        posix(16, 1);
        posix(16, 2, &notifications);
        EXPECT_FALSE(semDestroy.happened());
    }
    EXPECT_EQ(log.countMatching(kDebug, "AUDIO IGNORE\\(0==sem_destroy.*\n"), 0u);
}

#endif

}  // namespace cabinaudio::test
