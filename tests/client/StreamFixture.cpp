// SPDX-License-Identifier: Apache-2.0
#include "tests/client/StreamFixture.h"

#include <atomic>
#include <semaphore>
#include <utility>

namespace cabinaudio::test {

AudioFormatDesc cdFormat() {
    return {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
}

std::future<int> blocked(const std::function<int()>& call, int refusal) {
    struct FirstEnd {
        std::atomic<int> who{-1};
        std::binary_semaphore ended{0};
    };
    const auto first = std::make_shared<FirstEnd>();
    std::future<int> calls[2];
    for (int i = 0; i < 2; ++i)
        calls[i] = std::async(std::launch::async, [call, first, i] {
            const int result = call();
            int nobody = -1;
            if (first->who.compare_exchange_strong(nobody, i)) first->ended.release();
            return result;
        });
    first->ended.acquire();
    const int refused = first->who;
    EXPECT_EQ(calls[refused].get(), refusal);
    return std::move(calls[1 - refused]);
}

std::size_t AStream::sent(int function, std::uint32_t command, std::size_t length) const {
    std::size_t count = 0;
    for (const Request& one : server.requests(static_cast<std::uint32_t>(function)))
        if (one.header.cmd == command && one.payload.size() == length) ++count;
    return count;
}

}  // namespace cabinaudio::test
