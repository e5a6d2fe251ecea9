// SPDX-License-Identifier: Apache-2.0
// The development server is stopped, continued, killed and started again while a stream of each
// kind moves data.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

class AStreamThatMoves : public testing::TestWithParam<std::size_t> {
protected:
    static const StreamKind& kind() { return streamKinds()[GetParam()]; }
    static AudioFormatDesc format() {
        if (kind().writes) return cdFormat();
        return {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    }

    void make() {
        stream = kind().create(format());
        ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump();
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
    }

    /// Moves data until the ring is there and so much has gone through. On a busy machine a call
    /// may time out.
    void moveSome() {
        int left = 8000;
        EXPECT_TRUE(eventually(
            [&] {
                const int moved = stream->move(data.data(), 512, true);
                if (moved > 0) left -= moved;
                return left <= 0 && stream->getTotalBufferSize() > 0;
            },
            60s))
            << log.dump();
    }

    void standStillAndGoOn(const RealServer& server) {
        server.kill(SIGSTOP);
        // Whatever it holds in store: after that each call waits in vain, and ends.
        bool hasWaited = false;
        for (int i = 0; i < 10'000 && !hasWaited; ++i) {
            const int moved = stream->move(data.data(), 512, true);
            hasWaited = moved <= 0;
        }
        EXPECT_TRUE(hasWaited);
        server.kill(SIGCONT);
        moveSome();
    }

    const PolicyGuard guard{{std::chrono::milliseconds(60s), true, true}};
    LogCapture log;
    std::vector<unsigned char> data = std::vector<unsigned char>(4096, 1);
    std::unique_ptr<AnyStream> stream;
};

TEST_P(AStreamThatMoves, GoesOnWhenItsServerDoesAndAgainWithTheNextOne) {
    const ProcessState before = ProcessState::now();
    for (const bool standsStill : {true, false}) {
        const RealServer server({"--output", "null", "--input", "tone:440"});
        make();
        moveSome();
        if (standsStill) standStillAndGoOn(server);
        server.kill(SIGKILL);
        EXPECT_TRUE(eventually([&] {
            return stream->move(data.data(), 512, true) == AUDIO_INVALID_STATE &&
                   stream->start() == AUDIO_INVALID_STATE;
        })) << log.dump();
        stream.reset();
    }
    EXPECT_TRUE(eventually([&] {
        const ProcessState now = ProcessState::now();
        return now.threads <= before.threads && now.descriptors == before.descriptors &&
               now.sharedMappings == before.sharedMappings;
    }));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, AStreamThatMoves, testing::Range<std::size_t>(0, 5),
                         [](const auto& one) { return streamKinds()[one.param].name; });

}  // namespace
}  // namespace cabinaudio::test
