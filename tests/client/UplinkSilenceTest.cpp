// SPDX-License-Identifier: Apache-2.0
#include "client/UplinkCodec.h"
#include "client/UplinkSilence.h"
#include "tests/client/SilentPackets.h"
#include "tests/support/Logged.h"
#include "tests/support/Row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t BYTES_PER_MS = 32;
constexpr std::uint8_t UNTOUCHED = 0x5a;  // no sample of the noise is as loud

struct UplinkSilenceTest : ::testing::Test {
    static constexpr LogSite SITE{"ClientRecordRt", "read"};
    /// One channel at 16 kHz unless changed.
    AudioFormatDesc format{CODEC_PCM, 16'000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    Bytes buffer = Bytes(1024, UNTOUCHED);

    unsigned fill(unsigned bytes, std::uint32_t bytesPerMs = BYTES_PER_MS) {
        return UplinkSilence(format, bytesPerMs, "rec").fill(buffer.data(), bytes, SITE);
    }
    /// Bytes from the buffer's begin up to the last that was stored.
    [[nodiscard]] std::ptrdiff_t stored() const {
        return buffer.rend() - std::find_if(buffer.rbegin(), buffer.rend(),
                                            [](std::uint8_t byte) { return byte != UNTOUCHED; });
    }
    [[nodiscard]] Bytes begin(std::size_t count) const {
        return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count)};
    }
    void useDepth(int bits) { format.bitDepth = AudioTypes::getBitDepthType(bits); }
};

struct NoiseRow : Row {
    int bits;
    unsigned bytes;
    std::uint32_t bytesPerMs;
    std::ptrdiff_t stored;
};

class UplinkNoise : public UplinkSilenceTest, public ::testing::WithParamInterface<NoiseRow> {};

TEST_P(UplinkNoise, CountsAllBytesAndStoresTheStreamsRate) {
    useDepth(GetParam().bits);
    EXPECT_EQ(fill(GetParam().bytes, GetParam().bytesPerMs), GetParam().bytes);
    EXPECT_EQ(stored(), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Of, UplinkNoise,
    ::testing::Values(
        NoiseRow{"ThePace", 16, 512, BYTES_PER_MS, 512},
        NoiseRow{"TooFastAPace", 16, 640, 40, 512},  // 256 samples are 16 ms
        NoiseRow{"TooSlowAPace", 16, 512, 1, 512},   // ends with the buffer
        NoiseRow{"NoPace", 16, 100, 0, 100},
        NoiseRow{"WideSamples", 32, 512, BYTES_PER_MS, 512},    // ends with the buffer's 128
        NoiseRow{"NarrowSamples", 8, 512, BYTES_PER_MS, 256}),  // 256 samples of one byte
    ROW_NAME);

TEST_F(UplinkSilenceTest, OtherDepthsGive16BitsAndAWarning) {
    const LogCapture log;
    useDepth(24);
    EXPECT_EQ(fill(512), 512U);
    EXPECT_EQ(stored(), 512);
    EXPECT_TRUE(logged(log, WARN, "ClientRecordRt", "read",
                       "[rec] Unsupported bit depth:24, default to 16.\n"));
}

TEST_F(UplinkSilenceTest, MsbcGivesTheStoredFrame) {
    format.codecType = CODEC_MSBC;
    EXPECT_EQ(fill(57), 57U);
    EXPECT_EQ(begin(57), silentMsbcFrame());
    EXPECT_EQ(stored(), 57);
}

TEST_F(UplinkSilenceTest, OpusGivesThePacketOfItsRate) {
    format.codecType = CODEC_OPUS;
    for (const std::uint32_t rate : {8'000U, 16'000U, 24'000U, 48'000U}) {
        format.sampleRate = rate;
        const Bytes packet = silentOpusPacket(rate);
        EXPECT_EQ(fill(static_cast<unsigned>(packet.size())), packet.size());
        EXPECT_EQ(begin(packet.size()), packet) << rate;
        EXPECT_LE(packet.size(), UplinkSilence::LONGEST_FRAME_BYTES);
    }
}

TEST_F(UplinkSilenceTest, OpusOfAnotherRateGivesNothingAndAWarning) {
    const LogCapture log;
    format.codecType = CODEC_OPUS;
    format.sampleRate = 44'100;
    EXPECT_EQ(fill(512), 0U);
    EXPECT_EQ(stored(), 0);
    EXPECT_TRUE(logged(log, WARN, "[rec] not support samplerate(44100)!!!\n"));
}

TEST_F(UplinkSilenceTest, OtherCodecsGiveNothing) {
    format.codecType = CODEC_LOAS;
    EXPECT_EQ(fill(512), 0U);
    EXPECT_EQ(stored(), 0);
}

}  // namespace
}  // namespace cabinaudio::test
