// SPDX-License-Identifier: Apache-2.0
//
// Every kind of stream against the development server: a real process with real rings.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <csignal>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

class AStreamOfARealServer : public ::testing::TestWithParam<std::size_t> {
protected:
    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }
    [[nodiscard]] static AudioFormatDesc format() {
        if (kind().writes) return cdFormat();
        return {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    }

    /// Created, checked and started.
    void make(const RealServer& server) {
        stream = kind().create(format());
        ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump() << server.output();
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump() << server.output();
    }

    /// Moves `count` bytes, step by step.
    void move(int count) {
        while (count > 0) {
            const int moved = stream->move(data.data(), 512, true);
            ASSERT_GT(moved, 0) << log.dump();
            count -= moved;
        }
    }

    LogCapture log;
    std::vector<unsigned char> data = std::vector<unsigned char>(4096, 1);
    std::unique_ptr<AnyStream> stream;
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, AStreamOfARealServer, ::testing::Range<std::size_t>(0, 5),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

TEST_P(AStreamOfARealServer, MovesItsBytesAndStops) {
    const RealServer server({"--output", "null", "--input", "tone:440"});
    make(server);
    move(32'000);
    EXPECT_GT(stream->getTotalBufferSize(), 0) << log.dump() << server.output();
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
    move(5'000);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
}

TEST_P(AStreamOfARealServer, KeepsItsRingWhenTheServerAnnouncesItAgain) {
    if (kind().isPosix) return;
    const RealServer server({"--output", "null", "--input", "tone:440"});
    make(server);
    move(16'000);
    ASSERT_TRUE(log.waitForMatching(INFO, kind().announced)) << log.dump();
    for (std::size_t again = 2; again <= 4; ++again) {
        ASSERT_EQ(server.command("ring announce str"), "ok") << server.output();
        ASSERT_TRUE(log.waitForMatching(INFO, kind().announced, again)) << log.dump();
        move(16'000);
        EXPECT_GT(stream->getTotalBufferSize(), 0) << log.dump();
    }
    EXPECT_EQ(log.countMatching(DEBUG, "delete shared memory name:.*\n"), 0U) << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*shm data timeOut.*\n"), 0U) << log.dump();
    EXPECT_EQ(log.countMatching(WARN, ".*wait free space timeout.*\n"), 0U) << log.dump();
}

TEST_P(AStreamOfARealServer, EndsItsTransferWhenTheServerIsKilledAndLeavesNothingBehind) {
    const ProcessState before = ProcessState::now();
    for (int round = 0; round < 3; ++round) {
        const RealServer server({"--output", "null", "--input", "tone:440"});
        make(server);
        // A request that a server leaves unanswered by dying waits on, so the ring has to be there
        // before the server is killed.
        move(16'000);
        ASSERT_TRUE(eventually([&] { return stream->getTotalBufferSize() > 0; })) << log.dump();
        std::future<int> mover = std::async(std::launch::async, [&] {
            for (;;) {
                const int status = stream->move(data.data(), 512, true);
                if (status < 0) return status;
            }
        });
        server.kill(SIGKILL);
        const int status = mover.get();
        EXPECT_TRUE(status == AUDIO_INVALID_STATE || status == AUDIO_TIMED_OUT) << status;
        EXPECT_TRUE(log.waitForMatching(
            DEBUG, "\\[str\\]server (track|record) has be deleted, disconnect.\n"))
            << log.dump();
        stream.reset();
        log.clear();
    }
    EXPECT_TRUE(eventually([&] {
        const ProcessState now = ProcessState::now();
        return now.threads == before.threads && now.descriptors == before.descriptors &&
               now.sharedMappings == before.sharedMappings;
    })) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
