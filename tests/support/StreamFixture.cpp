// SPDX-License-Identifier: Apache-2.0
#include "tests/support/StreamFixture.h"

#include "tests/support/ProcessState.h"

#include <algorithm>
#include <atomic>
#include <latch>
#include <semaphore>
#include <utility>

namespace cabinaudio::test {

AudioFormatDesc cdFormat() {
    return {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
}

namespace {

struct TwoCalls {
    int firstResult = 0;
    std::future<int> other;
};

/// Makes two calls at the same time, each in a thread that runs already, and returns once one of
/// them has ended.
TwoCalls callTwice(const std::function<int()>& call) {
    struct Meeting {
        std::latch begin{2};
        std::atomic<int> who{-1};
        std::binary_semaphore ended{0};
    };
    const auto meeting = std::make_shared<Meeting>();
    std::future<int> calls[2];
    for (int i = 0; i < 2; ++i)
        calls[i] = std::async(std::launch::async, [call, meeting, i] {
            meeting->begin.arrive_and_wait();
            const int result = call();
            int nobody = -1;
            if (meeting->who.compare_exchange_strong(nobody, i)) meeting->ended.release();
            return result;
        });
    meeting->ended.acquire();
    const int first = meeting->who;
    return {calls[first].get(), std::move(calls[1 - first])};
}

}  // namespace

std::future<int> blocked(const std::function<int()>& call, int refusal) {
    // On a machine that stands still for long, the first call may have given up before the second
    // one begins, so that neither meets the other.
    for (int attempt = 1;; ++attempt) {
        TwoCalls two = callTwice(call);
        if (two.firstResult == refusal || attempt == 3) {
            EXPECT_EQ(two.firstResult, refusal);
            return std::move(two.other);
        }
        two.other.wait();
    }
}

bool ringHasAName(const std::string& streamName) {
    const std::vector<std::string> names = ProcessState::now().shmNames;
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return name.find(streamName + "_0x100000") != std::string::npos;
    });
}

std::size_t StreamFixture::sent(int function, std::uint32_t command, std::size_t length) const {
    std::size_t count = 0;
    for (const Request& one : server.requests(static_cast<std::uint32_t>(function)))
        if (one.header.cmd == command && one.payload.size() == length) ++count;
    return count;
}

}  // namespace cabinaudio::test
