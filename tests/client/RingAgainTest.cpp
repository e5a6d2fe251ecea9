// SPDX-License-Identifier: Apache-2.0
// A physical ring that the server announces again, as it is or made anew, while it is in use.
#include "tests/support/NoDescriptors.h"
#include "tests/support/kinds/KindTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

/// An active stream whose ring lies in physical memory and was announced.
class AnnouncedRing : public EachKindTest {
protected:
    AnnouncedRing() {
        makeRing();
        create();
        start();
        announce();
    }

    [[nodiscard]] bool hasName() const {
        const int fd = shm_open(("/" + kind.ringObject()).c_str(), O_RDWR, 0);
        if (fd >= 0) close(fd);
        return fd >= 0;
    }

    /// Moves bytes through the stream and the server's end of its ring.
    void expectBytesToPass() {
        ASSERT_EQ(stream->getTotalBufferSize(), static_cast<int>(SIZE)) << log.dump();
        Bytes other(STEP);
        if (kind.writes) {
            for (std::size_t i = 0; i < STEP; ++i)
                data[i] = static_cast<unsigned char>(++mCount);
            ASSERT_EQ(move(STEP), STEP) << log.dump();
            ASSERT_EQ(serverRing->read(other.data(), STEP), STEP) << log.dump();
        } else {
            for (unsigned char& byte : other)
                byte = static_cast<unsigned char>(++mCount);
            ASSERT_TRUE(put(*serverRing, other));
            ASSERT_EQ(move(STEP), STEP) << log.dump();
        }
        EXPECT_EQ(other, Bytes(data.begin(), data.begin() + STEP));
    }

    /// Mappings of the ring's object, removed or not.
    [[nodiscard]] std::size_t mappings() const {
        std::ifstream maps("/proc/self/maps");
        std::size_t count = 0;
        for (std::string line; std::getline(maps, line);)
            count += line.find(kind.ringObject()) != std::string::npos;
        return count;
    }

private:
    unsigned mCount = 0;
};

class AnnouncedUplinkRing : public AnnouncedRing {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, AnnouncedRing, ::testing::ValuesIn(physicalKinds()), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(OfEachKind, AnnouncedUplinkRing,
                         ::testing::ValuesIn(kindsNamed({"uplink"})), ROW_NAME);

TEST_P(AnnouncedRing, PassesBytesAfterTwoAndThreeEqualAnnouncements) {
    expectBytesToPass();
    for (int again = 0; again < 2; ++again) {
        announce();
        expectBytesToPass();
        EXPECT_TRUE(hasName());
    }
}

TEST_P(AnnouncedRing, StaysMappedWhenItIsAnnouncedUnchanged) {
    const std::size_t deleted = log.countMatching(DEBUG, "delete shared memory name:.*\n");
    const std::size_t mapped = log.countMatching(INFO, "\\[str\\] shared memory mmap success.*\n");
    const std::size_t views = mappings();
    announce();
    settle();
    EXPECT_EQ(log.countMatching(DEBUG, "delete shared memory name:.*\n"), deleted) << log.dump();
    EXPECT_EQ(log.countMatching(INFO, "\\[str\\] shared memory mmap success.*\n"), mapped);
    EXPECT_EQ(mappings(), views);
    expectBytesToPass();
}

TEST_P(AnnouncedRing, IsReplacedByANewObjectAtTheSameAddress) {
    expectBytesToPass();
    for (int again = 0; again < 3; ++again) {
        makeRing();
        announce();
        settle();
        expectBytesToPass();
        EXPECT_TRUE(hasName()) << "the next announcement must find the same object";
    }
}

TEST_P(AnnouncedUplinkRing, GivesSilenceUntilItsNewObjectHasData) {
    expectBytesToPass();
    makeRing();
    announce();
    settle();
    // Live data would be waited for in vain.
    EXPECT_EQ(move(STEP), STEP) << log.dump();
    expectBytesToPass();
}

TEST_P(AnnouncedUplinkRing, GivesNoSilenceAfterTheSameAnnouncement) {
    expectBytesToPass();
    announce();
    settle();
    EXPECT_EQ(move(STEP), AUDIO_INVALID_STATE) << "missing live data";
}

TEST_P(AnnouncedRing, StaysWhenTheRequestForItsPlaceFails) {
    expectBytesToPass();
    onPlace(server, Answer::words(-1990, 0, 0));
    server.notify(kind.event, 1);
    settle();
    EXPECT_TRUE(loggedLike(ERROR, ".*return error\\(0\\), ret->status:-1990\\.\n"));
    expectBytesToPass();
    onPlace(server, placed());
    announce();
    expectBytesToPass();
}

TEST_P(AnnouncedRing, StaysWhenTheAnnouncedPlaceCannotBeMapped) {
    expectBytesToPass();
    {
        const NoDescriptors none;
        announce();
        settle();
    }
    EXPECT_TRUE(loggedLike(ERROR, "open\\(.*\\) failed:.*\n"));
    expectBytesToPass();
    announce();
    expectBytesToPass();
    EXPECT_TRUE(hasName());
}

TEST_P(AnnouncedRing, IsReplacedBesideACallThatNeverStops) {
    std::atomic<bool> isOver{false};
    std::atomic<int> worst{0};
    std::thread mover([&] {
        std::vector<unsigned char> bytes(64);
        while (!isOver) {
            const int moved = stream->move(bytes.data(), static_cast<int>(bytes.size()), false);
            if (moved < worst) worst = moved;
        }
    });
    for (int again = 0; again < 20; ++again) {
        if (again % 2 == 0) makeRing();
        announce();
    }
    isOver = true;
    mover.join();
    EXPECT_GE(worst, 0);
    makeRing();
    announce();
    settle();
    expectBytesToPass();
}

TEST_P(AnnouncedRing, WakesACallThatWaitsForItsEarlierObject) {
    expectBytesToPass();
    if (kind.writes) {
        const int free = stream->available();
        ASSERT_EQ(stream->move(data.data(), free, false), free);
    }
    std::future<int> waiting = blockedMove();
    makeRing();
    if (!kind.writes) serverRing->write(data.data(), STEP);
    announce();
    EXPECT_EQ(waiting.get(), STEP) << log.dump();
}

TEST_P(AnnouncedRing, LeavesNothingBehind) {
    makeRing();
    announce();
    announce();
    stream.reset();
    serverRing.reset();
    EXPECT_FALSE(hasName());
    EXPECT_EQ(mappings(), 0U);
}

}  // namespace
}  // namespace cabinaudio::test
