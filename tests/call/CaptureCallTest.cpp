// SPDX-License-Identifier: Apache-2.0
//
// An ordinary capture from the development server's input.
#include <cabinaudio/client/ClientRecord.h>

#include "tests/call/Speech.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace cabinaudio::test {
namespace {

/// Where `part` begins in `loop`, which goes on with its beginning at its end; -1 if nowhere.
std::ptrdiff_t placeOf(const std::vector<std::int16_t>& part,
                       const std::vector<std::int16_t>& loop) {
    std::vector<std::int16_t> twice = loop;
    while (twice.size() < loop.size() + part.size())
        twice.insert(twice.end(), loop.begin(), loop.end());
    const auto at = std::search(twice.begin(), twice.end(), part.begin(), part.end());
    return at == twice.end() ? -1 : at - twice.begin();
}

class CaptureCall : public ::testing::TestWithParam<AudioTagType> {
protected:
    LogCapture log;
};

TEST_P(CaptureCall, DeliversTheRecordedVoiceSampleForSample) {
    const std::vector<std::int16_t> voice = samplesOf(speechFile());
    ASSERT_FALSE(voice.empty()) << "cannot read " << speechFile() << " (package alsa-utils)";
    const RealServer server({"--output", "null", "--input", speechFile()});
    AudioFormatDesc format{0, 48000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    ClientRecord record("voice", GetParam(), format, 0);
    ASSERT_EQ(record.initCheck(), AUDIO_NO_ERROR) << log.dump() << server.output();
    ASSERT_EQ(record.start(), AUDIO_NO_ERROR);

    const int step = record.getPerLoopSize();
    ASSERT_EQ(step, 16 * 48 * 2) << "16 ms";
    constexpr int STEPS = 110;  // beyond the end of the file
    std::vector<std::int16_t> heard;
    for (int i = 0; i < STEPS; ++i) {
        std::vector<std::int16_t> piece(static_cast<std::size_t>(step) / 2);
        ASSERT_EQ(record.read(reinterpret_cast<unsigned char*>(piece.data()), step, true), step)
            << log.dump() << server.output();
        heard.insert(heard.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(record.stop(), AUDIO_NO_ERROR);
    ASSERT_GT(heard.size(), voice.size());
    EXPECT_EQ(placeOf(heard, voice), 0) << "begins with the file, and loops without a gap";
}

INSTANTIATE_TEST_SUITE_P(EveryInput, CaptureCall,
                         ::testing::Values(AUDIO_TAG_INPUT0, AUDIO_TAG_INPUT1, AUDIO_TAG_INPUT2,
                                           AUDIO_TAG_INPUT_FRONT_FEEDBACK),
                         [](const auto& tag) { return std::to_string(tag.param); });

}  // namespace
}  // namespace cabinaudio::test
