// SPDX-License-Identifier: Apache-2.0
// One object between a writing and a reading thread. The thread sanitizer sees both sides here, as
// they use one mapping.
#include "tests/shm/RingFixture.h"

#include <cstring>
#include <thread>

namespace cabinaudio::test {
namespace {

using ARingBetweenThreads = Ring;

TEST_F(ARingBetweenThreads, HandsOverItsBytes) {
    constexpr unsigned BYTES = 1 << 20;
    const auto ring = posix(1000);
    const auto sent = pattern(BYTES);
    std::thread writer([&] {
        for (unsigned at = 0; at < BYTES;) {
            const unsigned count = std::min(BYTES - at, at % 97 + 1);
            const int written = ring->write(sent.data() + at, count);
            if (written == 0) std::this_thread::yield();
            at += static_cast<unsigned>(written);
        }
    });
    std::vector<unsigned char> received(BYTES);
    for (unsigned at = 0; at < BYTES;) {
        const unsigned count = std::min(BYTES - at, at % 89 + 1);
        const int read = ring->read(received.data() + at, count);
        if (read == 0) std::this_thread::yield();
        at += static_cast<unsigned>(read);
    }
    writer.join();
    EXPECT_EQ(received, sent);
}

TEST_F(ARingBetweenThreads, ShowsItsBytesInPlace) {
    constexpr unsigned BYTES = 1 << 18;
    const auto ring = posix(1000);
    const auto sent = pattern(BYTES);
    std::thread writer([&] {
        for (unsigned at = 0; at < BYTES;) {
            const int written = ring->write(sent.data() + at, std::min(BYTES - at, 61u));
            if (written == 0) std::this_thread::yield();
            at += static_cast<unsigned>(written);
        }
    });
    for (unsigned at = 0; at < BYTES;) {
        audio_buffer_provider_t buffer = {};
        ring->getNextBuffer(buffer);
        ASSERT_EQ(std::memcmp(buffer.data, sent.data() + at, buffer.length), 0);
        at += buffer.length;
        if (at % 2 == 0)
            ring->releaseBuffer(buffer);
        else
            ring->updateReadOffset((ring->getReadOffset() + buffer.length) % 1000);
        if (buffer.length == 0) std::this_thread::yield();
    }
    writer.join();
    EXPECT_EQ(ring->getUsedSize(), 0u);
}

}  // namespace
}  // namespace cabinaudio::test
