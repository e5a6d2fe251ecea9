// SPDX-License-Identifier: Apache-2.0
//
// The track against the development server: a real process with real rings.
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>

#include "tests/support/Logged.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/StreamFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

class FinishCallback : public audio::QVAudioTrackCallback {
public:
    void finish(bool) override {
        const std::lock_guard lock(mLock);
        mFinished = true;
        mChanged.notify_all();
    }
    [[nodiscard]] bool wait() {
        std::unique_lock lock(mLock);
        return mChanged.wait_for(lock, std::chrono::seconds(60), [&] { return mFinished; });
    }

private:
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mFinished = false;
};

class TrackOfARealServer : public ::testing::Test {
protected:
    /// A track named "song" that is ready to start.
    void make(const RealServer& server, AudioTagType tag) {
        AudioFormatDesc format = cdFormat();
        track = std::make_unique<ClientTrack>("song", tag, format, 0);
        ASSERT_EQ(track->initCheck(), AUDIO_NO_ERROR) << log.dump() << server.output();
    }
    void start() { ASSERT_EQ(track->start(), AUDIO_NO_ERROR) << log.dump(); }
    /// Writes `bytes` bytes in blocking steps, each of which must succeed.
    void play(int bytes) {
        while (bytes > 0) {
            const int step = std::min<int>(bytes, static_cast<int>(pcm.size()));
            ASSERT_EQ(track->write(pcm.data(), step, true), step) << log.dump();
            bytes -= step;
        }
    }

    LogCapture log;
    std::unique_ptr<ClientTrack> track;
    std::vector<unsigned char> pcm = std::vector<unsigned char>(4096, 1);
};

TEST_F(TrackOfARealServer, PlaysToTheEndAndCallsTheCallback) {
    const RealServer server({"--output", "null", "--fast"});
    FinishCallback callback;
    make(server, AUDIO_TAG_AUXILIARY);
    ASSERT_EQ(track->setCallback(&callback), AUDIO_NO_ERROR);
    start();
    play(500000);
    ASSERT_EQ(track->writeDone(), AUDIO_NO_ERROR);
    EXPECT_TRUE(callback.wait()) << log.dump() << server.output();
    EXPECT_EQ(track->bytesFree(), track->getTotalBufferSize() - 1) << "everything was taken";
    EXPECT_EQ(track->stop(), AUDIO_NO_ERROR);
    track.reset();  // before its callback
}

TEST_F(TrackOfARealServer, PlaysAtTheServersPace) {
    const RealServer server({"--output", "null"});
    make(server, AUDIO_TAG_ALTERNATIVE);
    start();
    const auto begin = std::chrono::steady_clock::now();
    const int half = 48000 * 4 / 2;
    play(half);
    // All but what the ring and one period still hold has been played in real time.
    const double seconds = 0.5 - track->getTotalBufferSize() / (48000.0 * 4) - 2 * 0.016;
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::duration<double>(seconds));
}

TEST_F(TrackOfARealServer, VersionQueryReturnsTheServersVersion) {
    const RealServer server;
    ClientVersionSetting query;
    ASSERT_EQ(query.initCheck(), AUDIO_NO_ERROR) << server.output();
    int numbers[7] = {-1, -1, -1, -1, -1, -1, -1};
    EXPECT_EQ(query.getServerVersions(numbers, numbers + 3, numbers + 6), AUDIO_NO_ERROR);
    for (const int number : numbers)
        EXPECT_GE(number, 0);
}

TEST_F(TrackOfARealServer, IsRefusedWithACodedFormat) {
    const RealServer server;
    AudioFormatDesc format = cdFormat();
    format.codecType = 64;
    ClientTrack refused("song", AUDIO_TAG_AUXILIARY, format, 0);
    EXPECT_TRUE(logged(log, 6, "[song] mRc->call failure, status:0  ret_status:-3000\n"));
    EXPECT_EQ(refused.initCheck(), AUDIO_INVALID_STATE);
}

class KilledServer : public TrackOfARealServer,
                     public ::testing::WithParamInterface<AudioTagType> {};

TEST_P(KilledServer, EndsTheWriteAndLeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int round = 0; round < 3; ++round) {
        const RealServer server({"--output", "null"});
        make(server, GetParam());
        start();
        // A request that a dying server leaves unanswered keeps waiting, so the ring must be there
        // before the server is killed.
        play(4096);
        std::future<int> writer = std::async(std::launch::async, [&] {
            for (;;) {
                const int status = track->write(pcm.data(), static_cast<int>(pcm.size()), true);
                if (status < 0) return status;
            }
        });
        server.kill(SIGKILL);
        const int status = writer.get();
        EXPECT_TRUE(status == AUDIO_INVALID_STATE || status == AUDIO_TIMED_OUT) << status;
        EXPECT_TRUE(log.waitFor(3, "[song]server track has be deleted, disconnect.\n"))
            << log.dump();
        track.reset();
        log.clear();
    }
    EXPECT_TRUE(eventually([&] {
        const ProcessState now = ProcessState::now();
        return now.threads == before.threads && now.descriptors == before.descriptors &&
               now.sharedMappings == before.sharedMappings;
    })) << log.dump();
}

INSTANTIATE_TEST_SUITE_P(Stream, KilledServer,
                         ::testing::Values(AUDIO_TAG_ALTERNATIVE, AUDIO_TAG_AUXILIARY),
                         [](const auto& kind) {
                             return kind.param == AUDIO_TAG_ALTERNATIVE ? "Alternative"
                                                                        : "Auxiliary";
                         });

TEST_F(TrackOfARealServer, RefusesStartOnceTheServerHasRemovedIt) {
    const RealServer server;
    make(server, AUDIO_TAG_AUXILIARY);
    EXPECT_EQ(server.command("stream remove song"), "ok");
    EXPECT_TRUE(log.waitFor(3, "[song]server track has be deleted, disconnect.\n")) << log.dump();
    EXPECT_TRUE(eventually([&] { return track->start() == AUDIO_INVALID_STATE; }));
}

TEST_F(TrackOfARealServer, PlaysBesideManyOthers) {
    const RealServer server({"--output", "null", "--fast"});
    std::vector<std::future<int>> players;
    for (int i = 0; i < 12; ++i)
        players.push_back(std::async(std::launch::async, [i] {
            AudioFormatDesc format = cdFormat();
            const std::string name = "song" + std::to_string(i);
            ClientTrack song(name.c_str(), i % 2 == 0 ? AUDIO_TAG_ALTERNATIVE : AUDIO_TAG_AUXILIARY,
                             format, 0);
            std::vector<unsigned char> second(48000, 3);
            int status = song.initCheck();
            if (status == AUDIO_NO_ERROR) status = song.start();
            if (status == AUDIO_NO_ERROR) status = song.write(second.data(), 48000, true);
            if (status == 48000) status = song.stop();
            return status;
        }));
    for (auto& player : players)
        EXPECT_EQ(player.get(), AUDIO_NO_ERROR) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
