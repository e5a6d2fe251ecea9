// SPDX-License-Identifier: Apache-2.0
//
// A physical ring that the server announces again, as it is or made anew, while it is in use.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/NoDescriptors.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr unsigned SIZE = 4096;
constexpr int STEP = 512;

/// An active stream whose ring lies in physical memory.
class AnnouncedRing : public AStream, public ::testing::WithParamInterface<std::size_t> {
protected:
    AnnouncedRing() {
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        answerWith(Answer::words(0, RING_ADDRESS, SIZE));
        makeRing();
        stream = kind().create(kind().writes ? cdFormat() : speechFormat());
        EXPECT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
    }

    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }
    [[nodiscard]] static AudioFormatDesc speechFormat() {
        return {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    }

    /// The server's answer to the question where the ring lies.
    void answerWith(const Answer& place) {
        for (const std::uint32_t function : {18U, 20U})
            server.on(function, place);
    }
    /// The server's end of a ring in a new object at the same address.
    void makeRing() {
        shm_unlink(objectName().c_str());
        serverRing = physicalRing("str", SIZE);
        ASSERT_TRUE(serverRing->isUsable()) << log.dump();
    }
    void announce() {
        const std::size_t before = log.countMatching(INFO, kind().announced);
        server.notify(kind().event, 1);
        ASSERT_TRUE(log.waitForMatching(INFO, kind().announced, before + 1)) << log.dump();
    }
    /// Waits until the stream has handled all notifications so far.
    void settle() {
        const int priority = GetParam() == 1 ? ERROR : DEBUG;
        const std::string line = "(\\[str\\] )?unknown msg\\(9999\\), value=0\n";
        const std::size_t before = log.countMatching(priority, line);
        server.notify(9999, 0);
        ASSERT_TRUE(log.waitForMatching(priority, line, before + 1)) << log.dump();
    }

    [[nodiscard]] static std::string objectName() {
        char name[64];
        std::snprintf(name, sizeof name, "/str_0x%x", RING_ADDRESS);
        return name;
    }
    [[nodiscard]] static bool hasName() {
        const int fd = shm_open(objectName().c_str(), O_RDWR, 0);
        if (fd >= 0) close(fd);
        return fd >= 0;
    }

    /// Moves bytes through the stream and the server's end of its ring.
    void expectBytesToPass() {
        ASSERT_EQ(stream->getTotalBufferSize(), static_cast<int>(SIZE)) << log.dump();
        Bytes other(STEP);
        if (kind().writes) {
            for (std::size_t i = 0; i < STEP; ++i)
                data[i] = static_cast<unsigned char>(++mCount);
            ASSERT_EQ(stream->move(data.data(), STEP, true), STEP) << log.dump();
            ASSERT_EQ(serverRing->read(other.data(), STEP), STEP) << log.dump();
        } else {
            for (unsigned char& byte : other)
                byte = static_cast<unsigned char>(++mCount);
            ASSERT_TRUE(put(*serverRing, other));
            ASSERT_EQ(stream->move(data.data(), STEP, true), STEP) << log.dump();
        }
        EXPECT_EQ(other, Bytes(data.begin(), data.begin() + STEP));
    }

    /// Objects of that name or none that this process has mapped.
    [[nodiscard]] static std::size_t mappings() {
        std::size_t count = 0;
        if (std::FILE* const maps = std::fopen("/proc/self/maps", "r")) {
            char line[512];
            while (std::fgets(line, sizeof line, maps) != nullptr)
                count += std::string(line).find(objectName().substr(1)) != std::string::npos;
            std::fclose(maps);
        }
        return count;
    }

    std::unique_ptr<AnyStream> stream;

private:
    unsigned mCount = 0;
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, AnnouncedRing, ::testing::Values(1, 2, 4),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

TEST_P(AnnouncedRing, PassesBytesAfterTheSameAnnouncementTwiceAndThreeTimes) {
    announce();
    expectBytesToPass();
    for (int again = 0; again < 2; ++again) {
        announce();
        expectBytesToPass();
        EXPECT_TRUE(hasName());
    }
}

TEST_P(AnnouncedRing, StaysMappedWhenItIsAnnouncedUnchanged) {
    announce();
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
    announce();
    expectBytesToPass();
    for (int again = 0; again < 3; ++again) {
        makeRing();
        announce();
        settle();
        expectBytesToPass();
        EXPECT_TRUE(hasName()) << "the next announcement must find the same object";
    }
}

TEST_P(AnnouncedRing, GivesAnUplinkSilenceUntilItsNewObjectHasData) {
    if (kind().writes) return;
    announce();
    expectBytesToPass();
    makeRing();
    announce();
    settle();
    // Live data would be waited for in vain.
    EXPECT_EQ(stream->move(data.data(), STEP, true), STEP) << log.dump();
    expectBytesToPass();
}

TEST_P(AnnouncedRing, GivesAnUplinkNoSilenceAfterTheSameAnnouncement) {
    if (kind().writes) return;
    announce();
    expectBytesToPass();
    announce();
    settle();
    EXPECT_EQ(stream->move(data.data(), STEP, true), AUDIO_INVALID_STATE) << "missing live data";
}

TEST_P(AnnouncedRing, StaysWhenTheRequestForItsPlaceFails) {
    announce();
    expectBytesToPass();
    answerWith(Answer::words(-1990, 0, 0));
    server.notify(kind().event, 1);
    settle();
    EXPECT_EQ(log.countMatching(ERROR, ".*return error\\(0\\), ret->status:-1990\\.\n"), 1U)
        << log.dump();
    expectBytesToPass();
    answerWith(Answer::words(0, RING_ADDRESS, SIZE));
    announce();
    expectBytesToPass();
}

TEST_P(AnnouncedRing, StaysWhenTheAnnouncedPlaceCannotBeMapped) {
    announce();
    expectBytesToPass();
    {
        const NoDescriptors none;
        announce();
        settle();
    }
    EXPECT_EQ(log.countMatching(ERROR, "open\\(.*\\) failed:.*\n"), 1U) << log.dump();
    expectBytesToPass();
    announce();
    expectBytesToPass();
    EXPECT_TRUE(hasName());
}

TEST_P(AnnouncedRing, IsReplacedBesideACallThatNeverStops) {
    announce();
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
    announce();
    expectBytesToPass();
    if (kind().writes) {
        const int free = stream->available();
        ASSERT_EQ(stream->move(data.data(), free, false), free);
    }
    std::future<int> waiting = blocked(
        [this] {
            std::vector<unsigned char> bytes(STEP);
            return stream->move(bytes.data(), STEP, true);
        },
        kind().writes ? AUDIO_INVALID_OPERATION : AUDIO_INVALID_STATE);
    makeRing();
    if (!kind().writes) serverRing->write(data.data(), STEP);
    announce();
    EXPECT_EQ(waiting.get(), STEP) << log.dump();
}

TEST_P(AnnouncedRing, LeavesNothingBehind) {
    announce();
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
