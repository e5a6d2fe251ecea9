// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/client/RecordFixture.h"
#include "tests/client/VirtualTime.h"

namespace cabinaudio::test {

/// An uplink whose clock is in the test's hands. Reads that wait take no time.
class AnUplinkInTime : public ACaptureStream {
protected:
    using Waits = std::vector<std::uint64_t>;

    int read(int bytes, bool isBlock) { return read(data.data(), bytes, isBlock); }
    int read(unsigned char* buffer, int bytes, bool isBlock) {
        return time.during([&] { return record->read(buffer, bytes, isBlock); });
    }

    /// An active uplink.
    void makeActive(int perLoopSize = 512, AudioFormatDesc format = speech()) {
        makeUplink(perLoopSize, format);
        start();
    }
    /// An active uplink with a ring that has delivered already, and is empty.
    void makeLive(AudioFormatDesc format = speech(), unsigned size = 4096) {
        makeActive(512, format);
        giveRing(size);
        // A packet of one byte, should packets be expected.
        ASSERT_TRUE(put(*serverRing, {0, 0, 0, 1, 1, 2, 3, 4, 0xaa, 0}));
        (void)read(10, false);
        ASSERT_EQ(log.countMatching(INFO, "\\[rec\\]start read from shm.*\n"), 1U) << log.dump();
        serverRing->clear();
        log.clear();
    }

    VirtualTime time;
};

}  // namespace cabinaudio::test
