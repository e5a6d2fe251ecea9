// SPDX-License-Identifier: Apache-2.0
// Which ring removes the object's name, and whether a ring maps the object that is announced.
#include "shm/RingAccess.h"
#include "tests/shm/Platform.h"
#include "tests/shm/RingFixture.h"
#include "tests/support/Logged.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <utility>

namespace cabinaudio::test {
namespace {

constexpr unsigned WRITER = SHM_MODE_WRITER;

using RingName = RingFixture;
using RingAnnouncement = RingFixture;

/// Whether the bytes of a ring are those of the object that its name stands for.
bool namesTheBytesOf(ShareMemoryEx& ring, const std::string& name) {
    if (!Object::exists(name)) return false;
    const Object object(name, sizeof(wire::RingHeader));
    const std::uint32_t before = ring.getWriteOffset();
    const std::uint32_t other = before + 1;
    ring.updateWriteOffset(other);
    const bool same = object.header().writeOffset == other;
    ring.updateWriteOffset(before);
    return same;
}

void setLength(const std::string& name, off_t length) {
    const int fd = shm_open(name.c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ftruncate(fd, length), 0);
    close(fd);
}

// ---- Names --------------------------------------------------------------------------------------

struct Pair : Row {
    unsigned older;  // modes
    unsigned younger;
    bool stays;  // the name, when the older one is deleted
};

class RingNameOf : public RingName, public ::testing::WithParamInterface<Pair> {};

TEST_P(RingNameOf, StaysForAYoungerRingOfTheSameSideWhenTheOlderIsDeleted) {
    auto older = posix(16, GetParam().older);
    auto younger = posix(16, GetParam().younger);
    older.reset();
    EXPECT_EQ(namesTheBytesOf(*younger, posixName()), GetParam().stays);
    younger.reset();
    EXPECT_FALSE(Object::exists(posixName()));
}

INSTANTIATE_TEST_SUITE_P(
    Pairs, RingNameOf,
    ::testing::Values(Pair{"TwoClients", WRITER, WRITER, true},
                      Pair{"TwoCreators", SHM_MODE_CREATOR, SHM_MODE_CREATOR, true},
                      Pair{"ACreatorAndAClient", SHM_MODE_CREATOR, WRITER, false},
                      Pair{"AClientAndACreator", WRITER, SHM_MODE_CREATOR, false}),
    ROW_NAME);

TEST_F(RingName, IsRemovedWithTheYoungerRingWhenThatIsDeletedFirst) {
    auto older = posix(16, WRITER);
    posix(16, WRITER).reset();
    EXPECT_FALSE(Object::exists(posixName()));
    const auto third = posix(16, WRITER);
    older.reset();
    EXPECT_TRUE(namesTheBytesOf(*third, posixName()));
}

TEST_F(RingName, StaysForANewObjectOfTheServer) {
    auto older = posix(16, WRITER);
    Object::remove(posixName());
    const auto server = posix(32);
    const auto younger = posix(32, WRITER);
    older.reset();
    EXPECT_TRUE(namesTheBytesOf(*server, posixName()));
    EXPECT_TRUE(namesTheBytesOf(*younger, posixName()));
}

TEST_F(RingName, StaysForAYoungerRingInPhysicalMemory) {
    const Physical memory(PHYSICAL, 16);
    auto older = physical(16, WRITER);
    auto younger = physical(16, WRITER);
    older.reset();
    EXPECT_TRUE(Object::exists(physicalName()));
    younger.reset();
    EXPECT_FALSE(Object::exists(physicalName()));
}

TEST_F(RingName, IsRemovedWhileYoungerRingsOfOtherNamesExist) {
    auto ring = posix(16, WRITER);
    const auto other = physical(16, WRITER);
    const ShareMemoryEx unknown(static_cast<shm_type_t>(3), posixName().c_str(), nullptr, 16,
                                WRITER, nullptr);
    ring.reset();
    EXPECT_FALSE(Object::exists(posixName()));
}

TEST_F(RingName, StaysWhenTheRingKeepsIt) {
    auto ring = posix(16, WRITER);
    RingAccess::keepName(*ring);
    ring.reset();
    EXPECT_TRUE(Object::exists(posixName()));
}

TEST_F(RingName, StaysForAYoungerRingWithoutALogLine) {
    auto older = posix(16, WRITER);
    auto younger = posix(16, WRITER);
    const LogCapture log;
    older.reset();
    EXPECT_TRUE(loggedLike(log, DEBUG, "AUDIO IGNORE.*\n", 0));
    Object::remove(posixName());
    younger.reset();
    EXPECT_TRUE(logged(log, DEBUG, "ShareMemory", "destroyShmMap",
                       "AUDIO IGNORE(0==shm_unlink(hdl->name))!\n"));
}

TEST_F(RingName, StaysForAMappingThatIsUnderWay) {
    auto older = posix(16, WRITER);
    // The younger has opened the object and is not complete yet.
    const Before before("fallocate", [&] { older.reset(); });
    const auto younger = posix(16, WRITER);
    ASSERT_TRUE(before.happened());
    EXPECT_TRUE(RingAccess::mapsAnnounced(*younger, 0, 16));
}

TEST_F(RingName, IsNotOpenedBetweenTheDecisionToRemoveItAndTheRemoval) {
    auto older = posix(16, WRITER);
    std::unique_ptr<ShareMemoryEx> younger;
    std::atomic<bool> mapped{false};
    std::thread mapping;
    const Before before("shm_unlink", [&] {
        mapping = std::thread([&] {
            pthread_setname_np(pthread_self(), "mapping");
            younger = posix(16, WRITER);
            mapped = true;
        });
        // Until the removal it must wait; otherwise it maps an object that loses its name.
        EXPECT_TRUE(eventually([&] { return mapped || threadsSleep("mapping"); }));
    });
    older.reset();
    ASSERT_TRUE(before.happened());
    mapping.join();
    EXPECT_TRUE(RingAccess::mapsAnnounced(*younger, 0, 16));
}

TEST_F(RingName, StaysForTheRemainingRingWhileThreadsMapAndDelete) {
    constexpr unsigned ROUNDS = 1000;
    std::unique_ptr<ShareMemoryEx> current = posix(16, WRITER);
    std::unique_ptr<ShareMemoryEx> earlier;
    std::atomic<unsigned> begun{0};
    std::atomic<unsigned> ended{0};
    std::thread deleting([&] {
        for (unsigned round = 1; round <= ROUNDS; ++round) {
            for (unsigned seen = begun; seen < round; seen = begun)
                begun.wait(seen);
            earlier.reset();
            ended = round;
            ended.notify_one();
        }
    });
    unsigned lost = 0;
    for (unsigned round = 1; round <= ROUNDS; ++round) {
        earlier = std::move(current);
        begun = round;
        begun.notify_one();
        current = posix(16, WRITER);
        for (unsigned seen = ended; seen < round; seen = ended)
            ended.wait(seen);
        if (!RingAccess::mapsAnnounced(*current, 0, 16)) ++lost;
    }
    deleting.join();
    EXPECT_EQ(lost, 0u);
}

// ---- Announcements ------------------------------------------------------------------------------

TEST_F(RingAnnouncement, IsMappedUnderItsOwnNumbers) {
    const auto ring = posix(16, WRITER);
    EXPECT_TRUE(RingAccess::mapsAnnounced(*ring, 0, 16));
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, 0, 17));
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, PHYSICAL, 16));
}

TEST_F(RingAnnouncement, IsMappedAtItsPhysicalAddress) {
    const auto ring = physical(16, WRITER);
    EXPECT_TRUE(RingAccess::mapsAnnounced(*ring, PHYSICAL, 16));
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, PHYSICAL + 16, 16));
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, PHYSICAL, 15));
}

TEST_F(RingAnnouncement, IsNotMappedAsANewObjectOfTheSameName) {
    const auto ring = physical(16, WRITER);
    Object::remove(physicalName());
    const auto server = physical(16);
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, PHYSICAL, 16));
    EXPECT_TRUE(RingAccess::mapsAnnounced(*server, PHYSICAL, 16));
}

TEST_F(RingAnnouncement, IsNotMappedAndNotCreatedWhenItsNameIsGone) {
    const auto ring = posix(16, WRITER);
    Object::remove(posixName());
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, 0, 16));
    EXPECT_FALSE(Object::exists(posixName()));
}

TEST_F(RingAnnouncement, IsNotMappedInAnotherLength) {
    const auto ring = posix(16, WRITER);
    setLength(posixName(), 64 + 15);
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, 0, 16));
    setLength(posixName(), 64 + 17);
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, 0, 16));
    setLength(posixName(), 64 + 16);
    EXPECT_TRUE(RingAccess::mapsAnnounced(*ring, 0, 16));
}

TEST_F(RingAnnouncement, IsNotMappedByAnInertRing) {
    for (const char* const function : {"mmap", "shm_open"}) {
        const Failing failing(function, EMFILE);
        const auto ring = posix(16, WRITER);
        EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, 0, 16)) << function;
    }
}

TEST_F(RingAnnouncement, IsNotMappedWithoutTheCacheDevice) {
    std::unique_ptr<ShareMemoryEx> ring;
    {
        const Failing failing("open", ENXIO, 1);
        ring = physical(16, WRITER);
        ASSERT_TRUE(failing.happened());
    }
    EXPECT_FALSE(RingAccess::mapsAnnounced(*ring, PHYSICAL, 16));
}

TEST_F(RingAnnouncement, LeavesNoDescriptorBehind) {
    const auto ring = posix(16, WRITER);
    const std::size_t before = ProcessState::now().descriptors;
    for (int i = 0; i < 20; ++i)
        EXPECT_TRUE(RingAccess::mapsAnnounced(*ring, 0, 16));
    EXPECT_EQ(ProcessState::now().descriptors, before);
}

}  // namespace
}  // namespace cabinaudio::test
