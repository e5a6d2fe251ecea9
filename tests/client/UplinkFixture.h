// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/client/RecordFixture.h"
#include "tests/client/VirtualTime.h"

#include <cstdint>
#include <string>

namespace cabinaudio::test {

constexpr std::uint32_t AAC = 16;
constexpr std::uint32_t OPUS = 32;
constexpr std::uint32_t MSBC = 65;

/// A frame as the server sends it: a packet of Opus, or a LOAS frame, whose header has 11 bits of
/// sync word and 13 bits of length. Its body is a pattern.
[[nodiscard]] inline Bytes frameOf(std::uint32_t codec, std::uint32_t length, unsigned start = 0) {
    const auto byte = [length](int shift) { return static_cast<std::uint8_t>(length >> shift); };
    Bytes frame = codec == OPUS ? Bytes{byte(24), byte(16), byte(8), byte(0), 9, 8, 7, 6}
                                : Bytes{0x56, static_cast<std::uint8_t>(0xe0 | byte(8)), byte(0)};
    const Bytes body = pattern(length, start);
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

/// An uplink whose clock is in the test's hands. Reads that wait take no time.
class UplinkInTime : public RecordFixture {
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

    [[nodiscard]] unsigned left() const { return serverRing->getUsedSize(); }

    VirtualTime time;
};

/// For codecs of frames that have a length of their own.
class EachFrameCodec : public ::testing::WithParamInterface<std::uint32_t> {
protected:
    [[nodiscard]] static Bytes frame(std::uint32_t length, unsigned start = 0) {
        return frameOf(GetParam(), length, start);
    }
    [[nodiscard]] static int headerSize() { return GetParam() == OPUS ? 8 : 3; }
};

[[nodiscard]] inline std::string codecName(const ::testing::TestParamInfo<std::uint32_t>& codec) {
    return codec.param == OPUS ? "Opus" : "Aac";
}

}  // namespace cabinaudio::test
