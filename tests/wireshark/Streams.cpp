// SPDX-License-Identifier: Apache-2.0
#include "tests/wireshark/Streams.h"

#include "tests/support/kinds/StreamKinds.h"

#include <gtest/gtest.h>

#include <vector>

namespace cabinaudio::test {

void playAndRecord(const LogCapture& log) {
    for (const StreamKind& kind : streamKinds()) {
        SCOPED_TRACE(kind.name);
        std::vector<unsigned char> bytes(4096, 1);
        const auto stream = kind.create();
        ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump();
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
        for (int moved = 0; moved < 6'000;) {
            const int step = stream->move(bytes.data(), 512, true);
            ASSERT_GT(step, 0) << log.dump();
            moved += step;
        }
        (void)stream->ask();
        EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR) << log.dump();
    }
}

}  // namespace cabinaudio::test
