// SPDX-License-Identifier: Apache-2.0
//
// Speech through the server's encoders and the codecs' own decoders.
#include "tests/server/Decoders.h"
#include "tests/server/RawRecorder.h"
#include "tests/server/Sound.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t AAC = 16;
constexpr std::uint32_t OPUS = 32;
constexpr std::uint32_t MSBC = 65;

/// A server that records two seconds of speech again and again, and an uplink of it.
class SpokenCall {
public:
    SpokenCall(std::uint32_t codec, unsigned rate)
        : mSpeech(speech16(rate, 2 * rate)), mServer(rate, 1, mSpeech, {"--fast"}) {
        AudioFormatDesc format = pcm(rate, 1, 16);
        format.codecType = codec;
        mUplink = std::make_unique<RawRecorder>("call", AUDIO_TAG_UPLINK, format);
        if (mUplink->start() != 0 || !mUplink->mapWhenReady()) throw std::runtime_error("no ring");
    }

    RawRecorder& uplink() { return *mUplink; }
    const RealServer& server() const { return mServer; }

    /// How much of the speech is in what was decoded, whatever the codec's delay.
    double likeness(std::vector<std::int16_t> decoded) const {
        // Between the beginning, where a codec settles, and the end.
        const std::size_t first = mSpeech.size() / 8;
        const std::vector<std::int16_t> spoken(
            mSpeech.begin() + static_cast<std::ptrdiff_t>(first),
            mSpeech.begin() + static_cast<std::ptrdiff_t>(mSpeech.size() * 3 / 4));
        decoded.erase(decoded.begin(), decoded.begin() + static_cast<std::ptrdiff_t>(
                                                             std::min(first, decoded.size())));
        return correlation(spoken, decoded, 3000);
    }

private:
    std::vector<std::int16_t> mSpeech;
    InputServer mServer;
    std::unique_ptr<RawRecorder> mUplink;
};

class ServerOpus : public ::testing::TestWithParam<unsigned> {};

TEST_P(ServerOpus, DecodesToTheSpeech) {
    SpokenCall call(OPUS, GetParam());
    OpusDecoding decoder(GetParam());
    std::vector<std::int16_t> decoded;
    for (int packet = 0; packet < 100; ++packet) {
        const Bytes header = call.uplink().read(8);
        ASSERT_EQ((Bytes{header.begin() + 4, header.end()}), (Bytes{1, 2, 3, 4}));
        ASSERT_EQ(header[0] + header[1], 0);
        const auto samples =
            decoder.decode(call.uplink().read((std::size_t{header[2]} << 8) + header[3]));
        ASSERT_EQ(samples.size(), GetParam() / 50) << "20 ms";
        decoded.insert(decoded.end(), samples.begin(), samples.end());
    }
    EXPECT_GT(call.likeness(decoded), 0.9);
    EXPECT_EQ(streamOf(call.server(), "call").at("codec"), "opus");
    EXPECT_GE(streamOf(call.server(), "call").at("packets"), 100);
}

INSTANTIATE_TEST_SUITE_P(Rates, ServerOpus, ::testing::Values(8000, 16000, 24000, 48000));

TEST(ServerMsbc, DecodesToTheSpeech) {
    SpokenCall call(MSBC, 16000);
    MsbcDecoding decoder;
    std::vector<std::int16_t> decoded;
    for (int frame = 0; frame < 266; ++frame) {
        const Bytes bytes = call.uplink().read(57);
        ASSERT_EQ(bytes[0], 0xad) << "frame " << frame;
        const auto samples = decoder.decode(bytes);
        ASSERT_EQ(samples.size(), 120U) << "7.5 ms";
        decoded.insert(decoded.end(), samples.begin(), samples.end());
    }
    EXPECT_GT(call.likeness(decoded), 0.9);
}

class ServerAac : public ::testing::TestWithParam<unsigned> {};

TEST_P(ServerAac, DecodesToTheSpeechFromTheSecondFrame) {
    if (!AacDecoding::exists()) GTEST_SKIP() << "built without it";
    SpokenCall call(AAC, GetParam());
    AacDecoding decoder;
    std::vector<std::int16_t> decoded;
    for (unsigned frame = 0; frame < 2 * GetParam() / 1024; ++frame) {
        const Bytes header = call.uplink().read(3);
        ASSERT_EQ(header[0], 0x56) << "the sync word, eleven bits";
        ASSERT_EQ(header[1] & 0xe0, 0xe0);
        Bytes bytes = header;
        const Bytes body = call.uplink().read((std::size_t{header[1] & 0x1fU} << 8) + header[2]);
        bytes.insert(bytes.end(), body.begin(), body.end());
        if (frame == 0) continue;  // a decoder that joins later
        const auto samples = decoder.decode(bytes);
        decoded.insert(decoded.end(), samples.begin(), samples.end());
    }
    EXPECT_EQ(decoder.rate(), GetParam());
    ASSERT_GT(decoded.size(), 3 * GetParam() / 2);
    decoded.insert(decoded.begin(), 1024, 0);  // for the frame that was left out
    EXPECT_GT(call.likeness(decoded), 0.9);
}

INSTANTIATE_TEST_SUITE_P(Rates, ServerAac, ::testing::Values(16000, 48000));

}  // namespace
}  // namespace cabinaudio::test
