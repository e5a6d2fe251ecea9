// SPDX-License-Identifier: Apache-2.0
//
// Routing of sinks: which one is the source of the main output, and the rings of withdrawn sinks.
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/RawRecorder.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;
using wire::StreamFunction;

constexpr std::uint32_t ACTIVATED = 3;
constexpr std::uint32_t DEACTIVATED = 4;
constexpr std::uint32_t FINISHED = 5;
constexpr std::uint32_t REMOVED = 255;

/// A sink without the library.
class RawSink {
public:
    explicit RawSink(const std::string& name, const AudioFormatDesc& format = pcm(48000, 2, 16))
        : mName(name), mClient(AUDIO_CONNECT_MAIN, name) {
        mStatus = mClient.create(AUDIO_TAG_MAIN, format).status;
    }

    RawClient& client() { return mClient; }
    std::int32_t creation() const { return mStatus; }
    std::uint32_t event() { return mClient.notification().event; }

    wire::ShareMemoryReply memory() {
        return mClient.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory);
    }
    /// Asks for the ring and maps it. @return whether there is one
    bool map() {
        const auto reply = memory();
        if (reply.status != AUDIO_NO_ERROR) return false;
        const auto address = static_cast<std::uintptr_t>(reply.address);
        mRing = std::make_unique<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, mName.c_str(),
                                                reinterpret_cast<const unsigned char*>(address),
                                                reply.size, 0, nullptr);
        return mRing->isUsable();
    }
    /// @return frames of 4 bytes taken
    std::size_t write(std::vector<std::int16_t> samples) {
        return static_cast<std::size_t>(
                   mRing->write(bytesPointer(samples), static_cast<unsigned>(byteCount(samples)))) /
               4;
    }
    std::int32_t acknowledgeWithdrawal() {
        mRing.reset();
        return mClient.status(StreamFunction::SourceDeactivated);
    }

private:
    std::string mName;
    RawClient mClient;
    std::int32_t mStatus;
    std::unique_ptr<ShareMemoryEx> mRing;
};

class SinkRouting : public ::testing::Test {
protected:
    RealServer server{{"--output", "null"}};
};

TEST_F(SinkRouting, NewSinkIsActivatedAndGetsItsRing) {
    RawSink sink("music");
    ASSERT_EQ(sink.creation(), AUDIO_NO_ERROR);
    const SocketFrameHeader told = sink.client().notification();
    EXPECT_EQ(told.event, ACTIVATED);
    EXPECT_EQ(told.param, 0U);
    const auto memory = sink.memory();
    EXPECT_EQ(memory.status, AUDIO_NO_ERROR);
    EXPECT_EQ(memory.size, 8 * 768 * 4U);
    const auto state = streamOf(server, "music");
    EXPECT_EQ(state.at("kind"), "sink");
    EXPECT_EQ(state.at("source"), "active");
    EXPECT_EQ(state.at("ring"), "offered");
    EXPECT_EQ(state.at("ring_address"), memory.address);
}

TEST_F(SinkRouting, SinkHasNeitherInitCheckNorKeyShift) {
    RawSink sink("music");
    EXPECT_EQ(sink.client().status(StreamFunction::InitCheck), AUDIO_INVALID_OPERATION);
    EXPECT_EQ(sink.client().status(StreamFunction::SetKeyShift), AUDIO_INVALID_OPERATION);
}

TEST_F(SinkRouting, NewestSinkIsTheSource) {
    RawSink first("first");
    ASSERT_EQ(first.event(), ACTIVATED);
    {
        RawSink second("second");
        EXPECT_EQ(first.event(), DEACTIVATED);
        EXPECT_EQ(second.event(), ACTIVATED);
        EXPECT_EQ(streamOf(server, "first").at("source"), "withdrawn");
        EXPECT_EQ(streamOf(server, "second").at("source"), "active");
        EXPECT_EQ(first.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
        EXPECT_FALSE(first.map());
    }
    EXPECT_EQ(first.event(), ACTIVATED) << "the newest one has gone";
    EXPECT_TRUE(first.map());
}

TEST_F(SinkRouting, SinkKeepsItsRingUntilItAcknowledges) {
    RawSink sink("music");
    ASSERT_EQ(sink.event(), ACTIVATED);
    ASSERT_TRUE(sink.map());
    const auto address = sink.memory().address;
    ASSERT_EQ(server.command("source withdraw music"), "ok");
    EXPECT_EQ(sink.event(), DEACTIVATED);
    EXPECT_EQ(streamOf(server, "music").at("ring"), "letting go");
    EXPECT_EQ(sink.memory().address, address) << "the answer to a question asked before";

    RawClient other(AUDIO_CONNECT_AUXILIARY, "prompt");
    ASSERT_EQ(other.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_NE(streamOf(server, "prompt").at("ring_address"), address);

    EXPECT_EQ(sink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    const auto state = streamOf(server, "music");
    EXPECT_EQ(state.at("ring"), "away");
    EXPECT_EQ(state.at("ring_bytes"), 0);
    RawClient third(AUDIO_CONNECT_AUXILIARY, "third");
    ASSERT_EQ(third.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(streamOf(server, "third").at("ring_address"), address) << "free again";
}

TEST_F(SinkRouting, SinkIsReactivatedOnlyAfterItsAcknowledgement) {
    RawSink sink("music");
    ASSERT_EQ(sink.event(), ACTIVATED);
    ASSERT_EQ(server.command("source withdraw music"), "ok");
    ASSERT_EQ(server.command("source activate music"), "ok");
    EXPECT_EQ(sink.event(), DEACTIVATED);
    ASSERT_EQ(sink.client().status(StreamFunction::Start), AUDIO_NO_ERROR);
    EXPECT_FALSE(sink.client().hasNotification(50));
    EXPECT_EQ(sink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    EXPECT_EQ(sink.event(), ACTIVATED);
    EXPECT_TRUE(sink.map());
}

TEST_F(SinkRouting, UnrequestedAcknowledgementPassesTheSourceOn) {
    RawSink first("first");
    RawSink second("second");
    ASSERT_EQ(first.event(), ACTIVATED);
    ASSERT_EQ(first.event(), DEACTIVATED);
    ASSERT_EQ(first.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    ASSERT_EQ(second.event(), ACTIVATED);
    EXPECT_EQ(second.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    EXPECT_EQ(first.event(), ACTIVATED);
    EXPECT_EQ(streamOf(server, "second").at("source"), "withdrawn");
    EXPECT_EQ(second.acknowledgeWithdrawal(), AUDIO_NO_ERROR) << "nothing to let go of";
    EXPECT_EQ(server.command("source activate second"), "ok");
    EXPECT_EQ(second.event(), ACTIVATED);
    EXPECT_EQ(first.event(), DEACTIVATED);
}

TEST_F(SinkRouting, CommandSelectsTheSource) {
    std::vector<std::unique_ptr<RawSink>> sinks;
    for (const char* name : {"one", "two", "three"}) {
        sinks.push_back(std::make_unique<RawSink>(name));
        EXPECT_EQ(sinks.back()->event(), ACTIVATED);
    }
    EXPECT_EQ(sinks[0]->event(), DEACTIVATED);
    EXPECT_EQ(sinks[1]->event(), DEACTIVATED);
    sinks[0]->acknowledgeWithdrawal();
    EXPECT_EQ(server.command("source activate one"), "ok");
    EXPECT_EQ(sinks[0]->event(), ACTIVATED);
    EXPECT_EQ(sinks[2]->event(), DEACTIVATED);
    EXPECT_EQ(server.command("source activate one"), "ok") << "it is already";
    EXPECT_EQ(server.command("source withdraw two"), "ok") << "it has nothing";
    sinks[2]->acknowledgeWithdrawal();
    EXPECT_EQ(server.command("source withdraw one"), "ok");
    EXPECT_EQ(sinks[2]->event(), ACTIVATED) << "two is not wanted any more";
    EXPECT_FALSE(sinks[1]->client().hasNotification(0));
}

TEST_F(SinkRouting, CommandRefusesNamesThatAreNoSinks) {
    RawClient track(AUDIO_CONNECT_AUXILIARY, "track");
    ASSERT_EQ(track.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(server.command("source activate track"), "error: no sink \"track\"");
    EXPECT_EQ(server.command("source withdraw"), "error: no sink \"\"");
    EXPECT_EQ(server.command("source switch x"), "error: no such command: source switch x");
}

TEST_F(SinkRouting, RemovedSinkIsNotifiedAndTheOtherActivated) {
    RawSink first("first");
    RawSink second("second");
    ASSERT_EQ(first.event(), ACTIVATED);
    ASSERT_EQ(second.event(), ACTIVATED);
    ASSERT_EQ(first.event(), DEACTIVATED);
    first.acknowledgeWithdrawal();
    EXPECT_EQ(server.command("stream remove second"), "ok");
    EXPECT_EQ(second.event(), REMOVED);
    EXPECT_EQ(second.client().status(StreamFunction::Start), AUDIO_INVALID_STATE);
    EXPECT_EQ(first.event(), ACTIVATED);
}

TEST_F(SinkRouting, WithdrawnSinkFinishesAtOnce) {
    RawSink sink("music");
    ASSERT_EQ(sink.event(), ACTIVATED);
    ASSERT_TRUE(sink.map());
    ASSERT_EQ(sink.client().status(StreamFunction::Start), AUDIO_NO_ERROR);
    ASSERT_EQ(server.command("source withdraw music"), "ok");
    ASSERT_EQ(sink.event(), DEACTIVATED);
    ASSERT_EQ(sink.client().status(StreamFunction::WriteDone), AUDIO_NO_ERROR);
    EXPECT_EQ(sink.event(), FINISHED);
}

TEST(SinksWithRingDelay, AreActivatedAfterTheDelay) {
    const RealServer server({"--output", "null", "--ring-delay", "50"});
    const std::uint64_t before = AudioTime::now();
    RawSink sink("music");
    EXPECT_FALSE(sink.map());
    EXPECT_EQ(sink.event(), ACTIVATED);
    EXPECT_GE(AudioTime::now() - before, 50000U);
}

TEST(SinksWithRingDelay, AreNotWithdrawnBeforeTheirActivation) {
    const RealServer server({"--output", "null", "--ring-delay", "60000"});
    RawSink first("first");
    RawSink second("second");
    EXPECT_EQ(streamOf(server, "first").at("ring"), "away");
    EXPECT_EQ(streamOf(server, "second").at("ring"), "waiting");
    EXPECT_FALSE(first.client().hasNotification(50));
}

TEST(SinkThroughServer, PlaysToTheLastSampleThenFinishes) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(2 * 3000);
    {
        RawSink sink("music");
        ASSERT_EQ(sink.event(), ACTIVATED);
        ASSERT_TRUE(sink.map());
        ASSERT_EQ(sink.write(samples), 3000U);
        ASSERT_EQ(sink.client().status(StreamFunction::Start), AUDIO_NO_ERROR);
        ASSERT_EQ(sink.client().status(StreamFunction::WriteDone), AUDIO_NO_ERROR);
        EXPECT_EQ(sink.event(), FINISHED);
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
}

// What a withdrawn ring still holds is dropped and counted, so that nothing is unaccounted for.
TEST(SinkThroughServer, DiscardsAndCountsTheRestOfItsWithdrawnRing) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(2 * 1000);
    {
        RawSink sink("music");
        ASSERT_EQ(sink.event(), ACTIVATED);
        ASSERT_TRUE(sink.map());
        ASSERT_EQ(sink.write(noise16(2 * 3000, 7)), 3000U);
        ASSERT_EQ(recording.server().command("source withdraw music"), "ok");
        ASSERT_EQ(sink.event(), DEACTIVATED);
        ASSERT_EQ(sink.client().status(StreamFunction::Start), AUDIO_NO_ERROR);
        ASSERT_EQ(sink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
        EXPECT_EQ(streamOf(recording.server(), "music").at("discarded_frames"), 3000);
        ASSERT_EQ(recording.server().command("source activate music"), "ok");
        ASSERT_EQ(sink.event(), ACTIVATED);
        ASSERT_TRUE(sink.map());
        ASSERT_EQ(sink.write(samples), 1000U);
        ASSERT_EQ(sink.client().status(StreamFunction::WriteDone), AUDIO_NO_ERROR);
        EXPECT_EQ(sink.event(), FINISHED);
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
    EXPECT_EQ(recording.stream("music").at("underruns"), 0);
}

TEST(TwoLibrarySinks, PassTheSourceToTheNewest) {
    RecordingServer recording;
    const auto play = [](ClientSink& sink, std::vector<std::int16_t> samples) {
        return sink.write(bytesPointer(samples), byteCount(samples), true);
    };
    AudioFormatDesc format = pcm(48000, 2, 16);
    const auto prompt = noise16(2 * 5000);
    {
        ClientSink music("music", AUDIO_TAG_MAIN, format, 0);
        ASSERT_EQ(music.initCheck(), AUDIO_NO_ERROR);
        ASSERT_EQ(music.start(), AUDIO_NO_ERROR);
        EXPECT_EQ(play(music, noise16(2 * 10000, 2)), 40000);
        {
            ClientSink newer("prompt", AUDIO_TAG_MAIN, format, 0);
            FinishWaiter finished;
            newer.setCallback(&finished);
            ASSERT_EQ(newer.initCheck(), AUDIO_NO_ERROR);
            ASSERT_EQ(newer.start(), AUDIO_NO_ERROR);
            EXPECT_EQ(play(newer, prompt), 20000);
            EXPECT_TRUE(eventually([&] { return play(music, noise16(2 * 100)) == 0; }));
            EXPECT_EQ(newer.writeDone(), AUDIO_NO_ERROR);
            EXPECT_TRUE(finished.wait());
        }
        EXPECT_TRUE(eventually([&] { return play(music, noise16(2 * 100)) == 400; },
                               std::chrono::minutes(1)));
        EXPECT_EQ(music.stop(), AUDIO_NO_ERROR);
    }
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("prompt", wide(prompt)));
}

// The client writes whenever it has a ring; the routing changes as fast as it can.
TEST(SinkThroughServer, AccountsForEveryFrameInThousandRoutings) {
    constexpr int ROUTINGS = 1000;
    RecordingServer recording({"--fast"});
    std::size_t written = 0;
    int activations = 0;
    {
        RawSink sink("music");
        ASSERT_EQ(sink.client().status(StreamFunction::Start), AUDIO_NO_ERROR);
        std::atomic<bool> isOver{false};
        std::thread router([&] {
            for (int i = 0; i < ROUTINGS; ++i) {
                EXPECT_EQ(recording.server().command("source withdraw music"), "ok");
                EXPECT_EQ(recording.server().command("source activate music"), "ok");
            }
            isOver = true;
        });
        const auto samples = noise16(2 * 100);
        bool hasRing = false;
        while (!isOver || sink.client().hasNotification(200)) {
            if (hasRing) written += sink.write(samples);
            if (!sink.client().hasNotification(0)) continue;
            const std::uint32_t event = sink.event();
            hasRing = event == ACTIVATED && sink.map();
            if (event == ACTIVATED) ++activations;
            if (event == DEACTIVATED) {
                EXPECT_EQ(sink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
            }
        }
        router.join();
        EXPECT_TRUE(hasRing) << "the last command was to activate";
        ASSERT_EQ(recording.server().command("source withdraw music"), "ok");
        ASSERT_EQ(sink.event(), DEACTIVATED);
        ASSERT_EQ(sink.acknowledgeWithdrawal(), AUDIO_NO_ERROR);
    }
    ASSERT_TRUE(recording.stop());
    const auto& stream = recording.stream("music");
    EXPECT_GT(activations, 10);
    EXPECT_EQ(
        stream.at("frames").get<std::size_t>() + stream.at("discarded_frames").get<std::size_t>(),
        written);
    EXPECT_GT(written, 0U);
}

}  // namespace
}  // namespace cabinaudio::test
