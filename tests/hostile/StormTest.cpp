// SPDX-License-Identifier: Apache-2.0
// A server that wakes a waiting stream again and again, and gives it neither space nor data. Each
// wake-up begins a new wait; under a policy the waits of one call have an end all the same.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/hostile/HostileServer.h"
#include "tests/hostile/NamedStreams.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/ServerRing.h"

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
    explicit WaitingStream(const NamedKind& kind)
        : mKind(kind),
          mName(std::string("storm-") + kind.name),
          mRing(kind.isPosix ? posixRing(mName.c_str(), LENGTH)
                             : physicalRing(mName.c_str(), LENGTH)),
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
    const NamedKind& mKind;
    std::string mName;
    std::unique_ptr<ShareMemoryEx> mRing;
    std::unique_ptr<AnyStream> mStream;
    unsigned char mBytes[LENGTH] = {};
};

TEST(AStormOfWakeUps, EndsUnderAPolicyForEachKind) {
    const PolicyGuard guard({60s, true, true});
    HostileServer server;
    std::vector<std::unique_ptr<WaitingStream>> streams;
    for (std::size_t which = 0; which < 5; ++which)
        streams.push_back(std::make_unique<WaitingStream>(namedKinds()[which]));
    setLinkPolicy({50ms, true, true});
    inParallel(5, 5, [&](std::size_t which) { streams[which]->expectAnEnd(); });
}

}  // namespace
}  // namespace cabinaudio::test
