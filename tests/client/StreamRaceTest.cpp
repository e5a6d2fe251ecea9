// SPDX-License-Identifier: Apache-2.0
// Any operation from any thread at any time, and servers that answer with less or with nonsense.
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/KindTest.h"

#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t GET_VOLUME = 9;

class BusyStream : public EachKindTest {
protected:
    BusyStream() {
        ring.serve(server);
        // In full: what a short answer lacks, the client would take from the notification behind
        // it.
        if (!kind.writes) server.on(GET_VOLUME, Answer::words(0, 70));
        ring.begin();
    }
    ~BusyStream() override {
        stream.reset();
        server.stop();  // its rules use the ring
    }

    ServedRing ring{kind};
};

TEST_P(BusyStream, StandsOperationsFromEachThread) {
    const ProcessState before = ProcessState::now();
    create();
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump();
    start();
    std::vector<std::thread> users;
    std::atomic<int> wrong{0};
    for (unsigned seed = 1; seed <= 3; ++seed)
        users.emplace_back([&, seed] {
            std::minstd_rand random(seed);
            unsigned char bytes[SIZE];
            for (int i = 0; i < 300; ++i) {
                const int result = stream->operate(static_cast<unsigned>(random() >> 4), bytes);
                const bool isKnown = result >= 0 || result == AUDIO_INVALID_STATE ||
                                     result == AUDIO_INVALID_OPERATION ||
                                     result == AUDIO_BAD_VALUE || result == AUDIO_TIMED_OUT;
                if (!isKnown) ++wrong;
            }
        });
    std::minstd_rand random(4);
    for (int i = 0; i < 300; ++i) {
        const auto number = static_cast<unsigned>(random() >> 4);
        // Rings come, go and are played out; nothing is removed for good.
        if (number % 3 == 0) server.notify(2 + number / 3 % 4, number / 16 % 2);
        ring.move(1 + number % 512);
    }
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(wrong, 0);
    (void)stream->stop();
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
    const Stopwatch watch;
    stream.reset();
    EXPECT_LT(watch.ms(), 20'000);
    ring.drop();
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads <= before.threads; }));
}

class StreamOfAnOddServer : public BusyStream {
protected:
    /// A stream after this answer to its create request, which moves some data.
    void use(const Answer& answer) {
        onCreate(server, answer);
        create();
        start();
        EXPECT_LE(stream->move(data.data(), STEP, false), STEP);
    }
};

TEST_P(StreamOfAnOddServer, HasNoStepSizeWhenTheAnswerIsAStatusOnly) {
    use(Answer::status(0));
    EXPECT_EQ(stream->getPerLoopSize(), 0);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
}

TEST_P(StreamOfAnOddServer, TakesAnySizeFromTheAnswer) {
    for (const std::int32_t size : {-512, 1, 15, 0x7fffffff, static_cast<int>(0x80000000U)}) {
        use(Answer::words(0, 0, SIZE, size, size, size, 0));
        EXPECT_EQ(stream->getPerLoopSize(), size);
        stream.reset();
        ring.begin();
    }
}

TEST_P(StreamOfAnOddServer, IsRemovedByANotificationInFrontOfItsCreation) {
    for (int round = 0; round < 5; ++round) {
        onCreate(server, created().after(REMOVED, 0));
        create();
        EXPECT_TRUE(eventually([&] { return stream->start() == AUDIO_INVALID_STATE; }))
            << log.dump();
        EXPECT_EQ(stream->stop(), AUDIO_INVALID_STATE);
        stream.reset();
    }
}

class PhysicalStreamOfAnOddServer : public StreamOfAnOddServer {};

TEST_P(PhysicalStreamOfAnOddServer, MapsARingThatIsAnnouncedInFrontOfItsCreation) {
    onCreate(server, created(1024, 0).after(kind.event, 1));
    create();
    EXPECT_TRUE(eventually([&] { return stream->getTotalBufferSize() == static_cast<int>(SIZE); }))
        << log.dump();
}

TEST_P(PhysicalStreamOfAnOddServer, EndsWithoutARingBehindTheAnnouncement) {
    for (const Answer& place : {Answer::status(0), Answer::words(0, 0xfffff000U, 0xffffffffU),
                                Answer::words(0, 0, 0), Answer::words(0, RING_ADDRESS, 1)}) {
        onPlace(server, place);
        create();
        start();
        log.clear();
        server.notify(kind.event, 1, server.clients() - 1);
        ASSERT_TRUE(log.waitForMatching(INFO, kind.announced)) << log.dump();
        EXPECT_LE(stream->move(data.data(), 64, false), 64);
        EXPECT_GE(stream->getTotalBufferSize(), -1);
        EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
        stream.reset();
    }
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, BusyStream, ::testing::ValuesIn(streamKinds()), ROW_NAME);
INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamOfAnOddServer, ::testing::ValuesIn(streamKinds()),
                         ROW_NAME);
INSTANTIATE_TEST_SUITE_P(OfEachKind, PhysicalStreamOfAnOddServer,
                         ::testing::ValuesIn(physicalKinds()), ROW_NAME);

}  // namespace
}  // namespace cabinaudio::test
