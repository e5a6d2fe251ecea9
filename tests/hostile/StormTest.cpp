// SPDX-License-Identifier: Apache-2.0
// A server wakes a waiting stream again and again without space or data. Each wake-up begins a new
// wait; under a policy the waits of one call end all the same.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/hostile/Effort.h"
#include "tests/hostile/HostileServer.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/StreamKinds.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr unsigned LENGTH = HostileServer::RING_BYTES;

/// A stream with a ring that is full, or empty and live.
class WaitingStream {
public:
    explicit WaitingStream(const StreamKind& kind)
        : mKind(kind),
          mName(std::string("storm-") + kind.name),
          mRing(kind.ring(mName)),
          mStream(kind.create(mName)) {
        EXPECT_TRUE(mRing->isUsable());
        EXPECT_EQ(mStream->initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(mStream->start(), AUDIO_NO_ERROR);
        EXPECT_TRUE(eventually([&] { return mStream->getTotalBufferSize() == int{LENGTH}; }));
        if (kind.writes) {
            EXPECT_TRUE(put(*mRing, Bytes(LENGTH - 1)));
        } else {
            EXPECT_TRUE(put(*mRing, Bytes(512)));
            EXPECT_EQ(mStream->move(mBytes, 512, false), 512);
        }
    }

    void expectAnEnd() {
        std::atomic<bool> isOver{false};
        std::thread storm([&] {
            while (!isOver) {
                if (mKind.writes)
                    mRing->updateReadOffset(0);
                else
                    mRing->updateWriteOffset(512);
                std::this_thread::sleep_for(1ms);
            }
        });
        auto moved =
            std::async(std::launch::async, [&] { return mStream->move(mBytes, 512, true); });
        const bool hasEnded = moved.wait_for(60s) == std::future_status::ready;
        isOver = true;  // and without an end it times out now
        storm.join();
        EXPECT_TRUE(hasEnded) << mName;
        EXPECT_LE(moved.get(), 0) << mName;
    }

private:
    const StreamKind& mKind;
    std::string mName;
    std::unique_ptr<ShareMemoryEx> mRing;
    std::unique_ptr<AnyStream> mStream;
    unsigned char mBytes[LENGTH] = {};
};

TEST(RepeatedWakeUps, EndUnderAPolicyForEachKind) {
    const PolicyGuard guard({60s, true, true});
    HostileServer server;
    std::vector<std::unique_ptr<WaitingStream>> streams;
    for (const StreamKind& kind : streamKinds())
        streams.push_back(std::make_unique<WaitingStream>(kind));
    setLinkPolicy({50ms, true, true});
    inParallel(streams.size(), 5, [&](std::size_t which) { streams[which]->expectAnEnd(); });
}

}  // namespace
}  // namespace cabinaudio::test
