// SPDX-License-Identifier: Apache-2.0
// One object between a writing and a reading thread. The thread sanitizer sees both sides here, as
// they use one mapping.
#include "tests/shm/RingFixture.h"

#include <cstring>
#include <thread>

namespace cabinaudio::test {
namespace {

class RingBetweenThreads : public RingFixture {
protected:
    /// Another thread that writes all bytes, in pieces of this many from this place on.
    std::thread writing(const std::vector<unsigned char>& sent, unsigned (*piece)(unsigned at)) {
        return std::thread([this, &sent, piece] {
            for (std::size_t at = 0; at < sent.size();) {
                const auto count = std::min(sent.size() - at, std::size_t{piece(unsigned(at))});
                const int written = ring->write(sent.data() + at, unsigned(count));
                if (written == 0) std::this_thread::yield();
                at += static_cast<std::size_t>(written);
            }
        });
    }

    const std::unique_ptr<ShareMemoryEx> ring = posix(1000);
};

TEST_F(RingBetweenThreads, DeliversItsBytes) {
    constexpr unsigned BYTES = 1 << 20;
    const auto sent = pattern(BYTES);
    std::thread writer = writing(sent, [](unsigned at) { return at % 97 + 1; });
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

TEST_F(RingBetweenThreads, ShowsItsBytesInPlace) {
    constexpr unsigned BYTES = 1 << 18;
    const auto sent = pattern(BYTES);
    std::thread writer = writing(sent, [](unsigned) { return 61U; });
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
