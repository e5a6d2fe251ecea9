// SPDX-License-Identifier: Apache-2.0
//
// An uplink's data while its source is away, decoded as at the far end of a call.
#include "tests/client/RecordFixture.h"

#include <opus/opus.h>
#include <sbc/sbc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace cabinaudio::test {
namespace {

using Samples = std::vector<std::int16_t>;

constexpr std::size_t OPUS_HEADER = 8;

/// The packet of 24 kHz holds faint noise, 47 dB below full scale at its peak; the others nothing.
constexpr int FAINT = 256;
constexpr int NOTHING = 4;

int peakOf(const Samples& samples) {
    int peak = 0;
    for (const std::int16_t sample : samples)
        peak = std::max(peak, std::abs(static_cast<int>(sample)));
    return peak;
}

class DecodedSilence : public RecordFixture {
protected:
    /// The bytes of a read without a ring.
    Bytes silenceOf(std::uint32_t codec, std::uint32_t rate) {
        AudioFormatDesc format = speech(codec);
        format.sampleRate = rate;
        makeUplink(512, format);
        start();
        const int got = read(456, true);
        EXPECT_GT(got, 0) << log.dump();
        return heard(std::max(got, 0));
    }
};

class DecodedOpusSilence : public DecodedSilence,
                           public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(DecodedOpusSilence, IsNearlySilent) {
    const auto rate = static_cast<opus_int32>(GetParam());
    const Bytes silence = silenceOf(32, GetParam());
    ASSERT_GT(silence.size(), OPUS_HEADER);
    const auto length = static_cast<std::size_t>(silence[2] << 8 | silence[3]);
    ASSERT_EQ(length, silence.size() - OPUS_HEADER);

    int error = OPUS_OK;
    const std::unique_ptr<OpusDecoder, void (*)(OpusDecoder*)> decoder(
        opus_decoder_create(rate, 1, &error), opus_decoder_destroy);
    ASSERT_EQ(error, OPUS_OK);
    for (int i = 0; i < 50; ++i) {
        Samples samples(static_cast<std::size_t>(rate) / 1000 * 120);
        const int count = opus_decode(decoder.get(), silence.data() + OPUS_HEADER,
                                      static_cast<opus_int32>(length), samples.data(),
                                      static_cast<int>(samples.size()), 0);
        ASSERT_EQ(count, rate / 1000 * 20) << opus_strerror(count);
        samples.resize(static_cast<std::size_t>(count));
        EXPECT_LE(peakOf(samples), rate == 24000 ? FAINT : NOTHING) << "packet " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(AtEachRate, DecodedOpusSilence,
                         ::testing::Values(8000, 16000, 24000, 48000));

TEST_F(DecodedSilence, OfMsbcIsNearlySilent) {
    const Bytes silence = silenceOf(65, 16000);
    ASSERT_EQ(silence.size(), 57U);
    sbc_t codec;
    ASSERT_EQ(sbc_init_msbc(&codec, 0), 0);
    for (int i = 0; i < 50; ++i) {
        Samples samples(120);
        std::size_t written = 0;
        const ssize_t used = sbc_decode(&codec, silence.data(), silence.size(), samples.data(),
                                        samples.size() * sizeof samples[0], &written);
        EXPECT_EQ(used, 57) << "frame " << i;
        EXPECT_EQ(written, 240U);
        EXPECT_LE(peakOf(samples), NOTHING) << "frame " << i;
    }
    sbc_finish(&codec);
}

}  // namespace
}  // namespace cabinaudio::test
