// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PolicyGuard.h"
#include "tests/support/kinds/RealServerTest.h"

#include <csignal>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

class StreamTransfer : public RealServerTest {
protected:
    /// Moves data until the ring is there and so much has gone through. On a busy machine a call
    /// may time out.
    void moveSome() {
        int left = 8000;
        EXPECT_TRUE(eventually(
            [&] {
                const int moved = moveStep();
                if (moved > 0) left -= moved;
                return left <= 0 && stream->getTotalBufferSize() > 0;
            },
            60s))
            << log.dump();
    }

    /// A stopped server moves what its side has in store; after that each call waits, and ends.
    void stopAndContinue() {
        server->kill(SIGSTOP);
        bool hasWaited = false;
        for (int i = 0; i < 10'000 && !hasWaited; ++i)
            hasWaited = moveStep() <= 0;
        EXPECT_TRUE(hasWaited);
        server->kill(SIGCONT);
        moveSome();
    }

    const PolicyGuard guard{{std::chrono::milliseconds(60s), true, true}};
};

TEST_P(StreamTransfer, ContinuesWithItsServerAndAgainWithTheNextOne) {
    for (const bool isStopped : {true, false}) {
        begin();
        moveSome();
        if (isStopped) stopAndContinue();
        server->kill(SIGKILL);
        EXPECT_TRUE(eventually([&] {
            return moveStep() == AUDIO_INVALID_STATE && stream->start() == AUDIO_INVALID_STATE;
        })) << log.dump();
        stream.reset();
    }
    EXPECT_TRUE(leavesNothing());
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamTransfer, ::testing::ValuesIn(streamKinds()), ROW_NAME);

}  // namespace
}  // namespace cabinaudio::test
