// SPDX-License-Identifier: Apache-2.0
//
// Any operation from any thread at any time, while the server does as it likes.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/ProcessState.h"

#include <atomic>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr unsigned SIZE = 4096;
constexpr std::uint32_t GET_VOLUME = 9;

class ABusyStream : public AStream, public ::testing::WithParamInterface<std::size_t> {
protected:
    ABusyStream() {
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
        for (const std::uint32_t place : {18U, 20U})
            server.on(place, [this](const Request&) {
                const std::lock_guard lock(mRingLock);
                serverRing.reset();  // removes the name
                serverRing = physicalRing("str", SIZE);
                return Answer::words(0, RING_ADDRESS, SIZE);
            });
        // In full: what a short answer lacks, the client would take from the notification behind
        // it.
        if (!kind().writes) server.on(GET_VOLUME, Answer::words(0, 70));
        if (kind().isPosix) serverRing = posixRing("str", SIZE);
    }
    ~ABusyStream() override { stream.reset(); }

    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }

    /// What a server may do to its end of the ring.
    void serveRing(unsigned number) {
        const std::lock_guard lock(mRingLock);
        if (!serverRing) return;
        Bytes bytes(1 + number % 512);
        if (kind().writes)
            serverRing->read(bytes.data(), static_cast<unsigned>(bytes.size()));
        else
            serverRing->write(bytes.data(), static_cast<unsigned>(bytes.size()));
    }

    std::mutex mRingLock;
    std::unique_ptr<AnyStream> stream;
};

TEST_P(ABusyStream, StandsOperationsFromEverywhere) {
    const ProcessState before = ProcessState::now();
    stream = kind().create(cdFormat());
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump();
    ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
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
        serveRing(number);
    }
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(wrong, 0);
    (void)stream->stop();
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
    const Stopwatch watch;
    stream.reset();
    EXPECT_LT(watch.ms(), 20'000);
    {
        const std::lock_guard lock(mRingLock);
        serverRing.reset();
    }
    EXPECT_TRUE(eventually([&] { return ProcessState::now().threads <= before.threads; }));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, ABusyStream, ::testing::Range<std::size_t>(0, 5),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

/// Servers that answer with less, or with nonsense.
class AnOddServer : public ABusyStream {
protected:
    /// A stream after this answer to its create request. It must bear being used.
    void use(const Answer& created) {
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, created);
        stream = kind().create(format);
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
        EXPECT_LE(stream->move(data.data(), 512, false), 512);
    }
    AudioFormatDesc format = cdFormat();
};

TEST_P(AnOddServer, ThatAnswersAStatusOnlyIsTakenAsNamingNoSizes) {
    use(Answer::status(0));
    EXPECT_EQ(stream->getPerLoopSize(), 0);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
}

TEST_P(AnOddServer, MayNameAnySize) {
    for (const std::int32_t size : {-512, 1, 15, 0x7fffffff, static_cast<int>(0x80000000U)}) {
        use(Answer::words(0, 0, SIZE, size, size, size, 0));
        EXPECT_EQ(stream->getPerLoopSize(), size);
        stream.reset();
        if (kind().isPosix) {
            serverRing.reset();
            serverRing = posixRing("str", SIZE);
        }
    }
}

TEST_P(AnOddServer, MayRemoveAStreamThatItIsStillMaking) {
    for (int round = 0; round < 5; ++round) {
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, SIZE, 1024, 16, 256, 0).after(REMOVED, 0));
        stream = kind().create(format);
        EXPECT_TRUE(eventually([&] { return stream->start() == AUDIO_INVALID_STATE; }))
            << log.dump();
        EXPECT_EQ(stream->stop(), AUDIO_INVALID_STATE);
        stream.reset();
    }
}

TEST_P(AnOddServer, MayAnnounceTheRingOfAStreamThatItIsStillMaking) {
    if (kind().isPosix) return;
    for (const std::uint32_t create : {2U, 21U})
        server.on(create, Answer::words(0, 0, 0, 1024, 16, 256, 0).after(kind().event, 1));
    stream = kind().create(format);
    EXPECT_TRUE(eventually([&] { return stream->getTotalBufferSize() == static_cast<int>(SIZE); }))
        << log.dump();
}

TEST_P(AnOddServer, MayHaveNoRingBehindItsAnnouncement) {
    if (kind().isPosix) return;
    for (const Answer& place : {Answer::status(0), Answer::words(0, 0xfffff000U, 0xffffffffU),
                                Answer::words(0, 0, 0), Answer::words(0, RING_ADDRESS, 1)}) {
        for (const std::uint32_t function : {18U, 20U})
            server.on(function, place);
        stream = kind().create(format);
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
        log.clear();
        server.notify(kind().event, 1, server.clients() - 1);
        ASSERT_TRUE(log.waitForMatching(INFO, kind().announced)) << log.dump();
        EXPECT_LE(stream->move(data.data(), 64, false), 64);
        EXPECT_GE(stream->getTotalBufferSize(), -1);
        EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
        stream.reset();
    }
}

INSTANTIATE_TEST_SUITE_P(ForEachKind, AnOddServer, ::testing::Range<std::size_t>(0, 5),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

}  // namespace
}  // namespace cabinaudio::test
