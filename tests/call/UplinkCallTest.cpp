// SPDX-License-Identifier: Apache-2.0
//
// An uplink from end to end: a recorded voice, the development server with a real encoder, the
// library, and a decoder.
#include <cabinaudio/client/ClientRecordRt.h>

#include "tests/call/Speech.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>
#include <opus/opus.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t CODEC_OPUS = 32;
constexpr std::size_t HEADER = 8;
constexpr int DECODED_RATE = 48000;  // the decoder gives this for every rate
constexpr int PACKET_SAMPLES = DECODED_RATE / 50;

/// One hundredth of full scale. The stored packet of 24 kHz is a faint hum, the others are nothing.
constexpr std::int16_t NEARLY_SILENT = 328;

class Decoder {
public:
    Decoder() : mDecoder(opus_decoder_create(DECODED_RATE, 1, &mError), opus_decoder_destroy) {}

    /// @return samples of one packet; empty when it is none
    std::vector<std::int16_t> decode(const unsigned char* packet, std::size_t size) {
        std::vector<std::int16_t> samples(PACKET_SAMPLES * 6);
        const int count = opus_decode(mDecoder.get(), packet, static_cast<opus_int32>(size),
                                      samples.data(), static_cast<int>(samples.size()), 0);
        samples.resize(static_cast<std::size_t>(std::max(count, 0)));
        return samples;
    }

private:
    int mError = OPUS_OK;
    std::unique_ptr<OpusDecoder, void (*)(OpusDecoder*)> mDecoder;
};

class OpusCall : public ::testing::TestWithParam<std::uint32_t> {
protected:
    /// One read of a whole packet; checks its header. @return the packet without the header
    std::vector<unsigned char> packet(ClientRecordRt& record) {
        std::vector<unsigned char> buffer(65536);
        // More than a packet: the last one in a ring is taken for one that is not whole yet.
        const int bytes = record.getPerLoopSize();
        const int count = record.read(buffer.data(), bytes, true);
        EXPECT_GT(count, static_cast<int>(HEADER)) << log.dump();
        if (count <= static_cast<int>(HEADER)) return {};
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | buffer[i];
        EXPECT_EQ(HEADER + length, static_cast<std::size_t>(count));
        return {buffer.begin() + HEADER, buffer.begin() + count};
    }

    [[nodiscard]] bool isLive() const {
        return log.countMatching(4, ".*start read from shm.dsp. at .*") != 0;
    }

    LogCapture log;
    Decoder decoder;
};

TEST_P(OpusCall, DeliversTheVoice) {
    const std::vector<std::int16_t> voice = samplesOf(speechFile());
    ASSERT_FALSE(voice.empty()) << "cannot read " << speechFile() << " (package alsa-utils)";
    const RealServer server(
        {"--output", "null", "--input", "uplink=" + speechFile(), "--uplink-delay", "100"});
    AudioFormatDesc format{CODEC_OPUS, GetParam(), 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    ClientRecordRt record("call", AUDIO_TAG_UPLINK, format);
    ASSERT_EQ(record.initCheck(), AUDIO_NO_ERROR) << log.dump() << server.output();
    ASSERT_EQ(record.start(), AUDIO_NO_ERROR);

    std::vector<std::int16_t> silence;
    while (!isLive()) {
        const auto bytes = packet(record);
        const auto samples = decoder.decode(bytes.data(), bytes.size());
        ASSERT_FALSE(samples.empty());
        if (!isLive()) silence.insert(silence.end(), samples.begin(), samples.end());
    }
    EXPECT_FALSE(silence.empty()) << "the ring comes 100 ms after the start";
    const auto [low, high] = std::minmax_element(silence.begin(), silence.end());
    EXPECT_GT(*low, -NEARLY_SILENT);
    EXPECT_LT(*high, NEARLY_SILENT);

    std::vector<std::int16_t> heard;
    while (heard.size() < voice.size()) {
        const auto bytes = packet(record);
        const auto samples = decoder.decode(bytes.data(), bytes.size());
        ASSERT_EQ(samples.size(), static_cast<std::size_t>(PACKET_SAMPLES)) << "20 ms";
        heard.insert(heard.end(), samples.begin(), samples.end());
    }
    EXPECT_EQ(record.stop(), AUDIO_NO_ERROR);
    constexpr std::size_t FACTOR = 12;  // 4 kHz are plenty for a voice, and quick
    EXPECT_GT(correlation(thinned(heard, FACTOR), thinned(voice, FACTOR)), 0.9);
}

INSTANTIATE_TEST_SUITE_P(EveryRate, OpusCall, ::testing::Values(8000, 16000, 24000, 48000),
                         [](const auto& rate) { return std::to_string(rate.param); });

}  // namespace
}  // namespace cabinaudio::test
