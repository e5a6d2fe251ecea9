// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/taps/Tap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

namespace cabinaudio::server {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

/// A tap whose listener is this test.
class TapOfATest : public ::testing::Test {
protected:
    using Records = std::vector<std::pair<TapRecord, std::uint32_t>>;

    TapOfATest() {
        std::array<int, 2> ends = {};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()),
                  0);
        mListener = UniqueFd(ends[0]);
        mSocket = UniqueFd(ends[1]);
    }

    [[nodiscard]] Tap make(const Tap::Wanted& wanted = {}) {
        return Tap(mLoop, std::move(mSocket), Admitted(), wanted, BOUND, [this] {
            mIsGone = true;
            mLoop.stop();
        });
    }

    /// Takes everything, also what has to wait for it.
    Records drain(Tap& tap) {
        std::vector<std::uint8_t> all;
        std::array<std::uint8_t, 65536> part;
        for (ssize_t got = 1; got > 0; tap.outflow().send()) {
            got = recv(mListener.get(), part.data(), part.size(), 0);
            if (got > 0) all.insert(all.end(), part.begin(), part.begin() + got);
        }
        Records records;
        for (std::size_t at = 0; at < all.size();) {
            TapHeader header;
            std::memcpy(&header, &all[at], sizeof header);
            records.emplace_back(header.kind, header.count);
            at += sizeof header + (header.kind == TapRecord::Samples ? header.count : 0);
        }
        return records;
    }

    static constexpr std::size_t BOUND = 1000;
    EventLoop mLoop;
    UniqueFd mListener;
    UniqueFd mSocket;
    bool mIsGone = false;
};

}  // namespace

TEST_F(TapOfATest, CountsFramesBeyondItsBoundAndReportsThemInTheirPlace) {
    Tap tap = make();
    const std::vector<float> frames(800, 0.5F);  // 400 frames, 1600 bytes: never fit
    const std::vector<float> few(20, 0.5F);
    tap.add(few, 2);
    tap.add(frames, 2);
    tap.add(frames, 2);
    EXPECT_EQ(tap.lostFrames(), 800U);
    tap.add(few, 2);
    tap.finish(TapRecord::ServerEnded);
    EXPECT_THAT(drain(tap),
                ElementsAre(Pair(TapRecord::Samples, 40U), Pair(TapRecord::Lost, 800U),
                            Pair(TapRecord::Samples, 40U), Pair(TapRecord::ServerEnded, 0U)));
}

TEST_F(TapOfATest, BoundsItsBufferAndNeverWaitsForItsListener) {
    Tap tap = make();
    const std::vector<float> frames(200, 0.5F);
    std::uint64_t added = 0;
    while (tap.lostFrames() == 0) {
        tap.add(frames, 2);
        added += 100;
        ASSERT_LE(tap.queuedBytes(), BOUND + sizeof(TapHeader) * 10);
        ASSERT_LT(added, 10'000'000U);
    }
    std::uint64_t arrived = 0;
    for (const auto& [kind, count] : drain(tap))
        arrived += kind == TapRecord::Samples ? count / 4 : 0;
    EXPECT_EQ(arrived + tap.lostFrames(), added);
    EXPECT_FALSE(tap.isPending());
}

TEST_F(TapOfATest, SendsOneChannelIfAsked) {
    Tap tap = make({SampleType::S24, 0, 1, ""});
    tap.add(std::vector<float>{0.1F, 0.5F, 0.2F, -0.5F}, 2);
    std::array<std::uint8_t, 64> bytes = {};
    EXPECT_EQ(recv(mListener.get(), bytes.data(), bytes.size(), 0), 8 + 6);
    EXPECT_EQ(bytes[8 + 2], 0x40);
    EXPECT_EQ(bytes[8 + 5], 0xc0);
}

TEST_F(TapOfATest, NoticesThatItsListenerHasLeft) {
    Tap tap = make();
    tap.add(std::vector<float>(20), 2);
    mListener.reset();
    mLoop.run();
    EXPECT_TRUE(mIsGone);
    EXPECT_TRUE(tap.isGone());
    EXPECT_FALSE(tap.isPending());
}

}  // namespace cabinaudio::server
