// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/UplinkSourceFrames.h"
#include "plugins/gstreamer/UplinkSourceTiming.h"
#include "tests/plugins/gstreamer/Capturing.h"
#include "tests/plugins/gstreamer/Installed.h"
#include "tests/server/Sound.h"
#include "tests/server/State.h"
#include "tests/support/Files.h"
#include "tests/support/Generous.h"
#include "tests/support/Process.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/Row.h"
#include "tests/support/SmallBuffers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <stdexcept>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using gstreamer::LoasDuration;
using gstreamer::opusDuration;
using gstreamer::UplinkSourceTiming;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double TONE = 500.0;                        // Hz
constexpr GstClockTime PACKET = 20 * GST_MSECOND;     // of Opus
constexpr GstClockTime AAC_FRAME = 64 * GST_MSECOND;  // at 16000 Hz

using Bytes = std::vector<unsigned char>;

/// Writes numbers from the most significant bit on.
class BitWriter {
public:
    BitWriter& put(unsigned value, unsigned count) {
        for (unsigned i = count; i-- > 0; ++mCount) {
            if (mCount % 8 == 0) mBytes.push_back(0);
            mBytes.back() =
                static_cast<unsigned char>(mBytes.back() | ((value >> i) & 1U) << (7 - mCount % 8));
        }
        return *this;
    }
    /// A frame of LOAS; the header's length is not looked at.
    [[nodiscard]] Bytes frame() const {
        Bytes result = {0x56, 0xe0, 0x00};
        result.insert(result.end(), mBytes.begin(), mBytes.end());
        result.insert(result.end(), 16, 0);
        return result;
    }

private:
    Bytes mBytes;
    unsigned mCount = 0;
};

/// A frame of one program, with its configuration up to the object's type.
BitWriter loas(unsigned object) {
    BitWriter bits;
    bits.put(0, 1).put(0, 1).put(1, 1).put(0, 6).put(0, 4 + 3);
    return object < 31 ? bits.put(object, 5) : bits.put(31, 5).put(object - 32, 6);
}

constexpr unsigned HZ_16000 = 8;  // index of the rate
constexpr unsigned HZ_32000 = 5;

}  // namespace

// ---- Frames -------------------------------------------------------------------------------------

TEST(UplinkFrames, OpusPacketLastsAsLongAsItsFirstByteSays) {
    EXPECT_EQ(opusDuration({}), 0U);
    const auto durationUs = [](const Bytes& packet) { return opusDuration(packet) / 1000; };
    EXPECT_EQ(durationUs({0 << 3}), 10'000U);
    EXPECT_EQ(durationUs({3 << 3}), 60'000U);
    EXPECT_EQ(durationUs({9 << 3}), 20'000U);
    EXPECT_EQ(durationUs({12 << 3}), 10'000U);
    EXPECT_EQ(durationUs({15 << 3}), 20'000U);
    EXPECT_EQ(durationUs({16 << 3}), 2'500U);
    EXPECT_EQ(durationUs({31 << 3}), 20'000U);
    EXPECT_EQ(durationUs({31 << 3 | 1}), 40'000U) << "two frames";
    EXPECT_EQ(durationUs({28 << 3 | 3, 0x80 | 6}), 15'000U) << "six frames";
    EXPECT_EQ(durationUs({31 << 3 | 3}), 0U) << "too short for the number of frames";
}

TEST(UplinkFrames, AacFrameLastsAsLongAsItsConfigurationSays) {
    const auto duration = [](BitWriter bits) { return LoasDuration(48000).of(bits.frame()); };
    EXPECT_EQ(duration(loas(2).put(HZ_16000, 4).put(1, 4).put(0, 1)), AAC_FRAME);
    EXPECT_EQ(duration(loas(2).put(HZ_16000, 4).put(1, 4).put(1, 1)), 60 * GST_MSECOND)
        << "960 samples";
    EXPECT_EQ(duration(loas(23).put(HZ_16000, 4).put(1, 4).put(1, 1)), 30 * GST_MSECOND)
        << "low delay";
    EXPECT_EQ(duration(loas(39).put(HZ_16000, 4).put(1, 4).put(0, 1)), 32 * GST_MSECOND)
        << "enhanced low delay";
    EXPECT_EQ(duration(loas(2).put(15, 4).put(8000, 24).put(1, 4).put(0, 1)), 128 * GST_MSECOND)
        << "a rate of its own";
    EXPECT_EQ(duration(loas(5).put(HZ_16000, 4).put(1, 4).put(HZ_32000, 4).put(2, 5).put(0, 1)),
              AAC_FRAME)
        << "replicated bands";
}

TEST(UplinkFrames, AacFrameWithoutConfigurationLastsAsLongAsTheOneBefore) {
    LoasDuration durations(16000);
    const Bytes same = BitWriter().put(1, 1).frame();
    EXPECT_EQ(durations.of(same), AAC_FRAME) << "the usual";
    EXPECT_EQ(durations.of(loas(2).put(HZ_16000, 4).put(1, 4).put(1, 1).frame()), 60 * GST_MSECOND);
    EXPECT_EQ(durations.of(same), 60 * GST_MSECOND);
    EXPECT_EQ(durations.of(BitWriter().put(0, 1).put(1, 1).frame()), 60 * GST_MSECOND)
        << "of a version that is not understood";
    EXPECT_EQ(durations.of({}), 60 * GST_MSECOND);
}

TEST(UplinkTiming, FramesFollowEachOtherThoughTheyComeInBursts) {
    UplinkSourceTiming timing;
    GstClockTime now = GST_SECOND;
    GstClockTime expected = now - PACKET;
    for (int i = 0; i < 100; ++i) {
        const auto stamp = timing.next(now + (i % 5 == 4 ? 30 : 0) * GST_MSECOND, PACKET);
        EXPECT_EQ(stamp.time, expected);
        EXPECT_EQ(stamp.isDiscontinuous, i == 0);
        expected += PACKET;
        now += PACKET;
    }
}

TEST(UplinkTiming, GapIsAJumpToTheClock) {
    UplinkSourceTiming timing;
    static_cast<void>(timing.next(GST_SECOND, PACKET));
    const auto stamp = timing.next(2 * GST_SECOND, PACKET);
    EXPECT_EQ(stamp.time, 2 * GST_SECOND - PACKET);
    EXPECT_TRUE(stamp.isDiscontinuous);
}

TEST(UplinkTiming, SequenceAheadOfTheClockIsSlowedAndNeverGoesBack) {
    UplinkSourceTiming timing;
    GstClockTime last = timing.next(GST_SECOND, PACKET).time;
    GstClockTime now = GST_SECOND;
    for (int i = 0; i < 2000; ++i) {
        now += PACKET * 99 / 100;
        const GstClockTime time = timing.next(now, PACKET).time;
        EXPECT_GT(time, last);
        last = time;
    }
    EXPECT_LT(last, now + 50 * GST_MSECOND);
}

TEST(UplinkTiming, RestartNeverGoesBack) {
    UplinkSourceTiming timing;
    const GstClockTime before = timing.next(GST_SECOND, PACKET).time;
    timing.restart();
    const auto stamp = timing.next(GST_SECOND - PACKET, PACKET);
    EXPECT_GE(stamp.time, before + PACKET);
    EXPECT_TRUE(stamp.isDiscontinuous);
}

TEST(UplinkTiming, FrameThatIsOlderThanTheClockBeginsAtZero) {
    UplinkSourceTiming timing;
    EXPECT_EQ(timing.next(GST_MSECOND, PACKET).time, 0U);
}

// ---- Sound --------------------------------------------------------------------------------------

namespace {

class GstUplink : public testing::Test, private SmallBuffers {
protected:
    static std::unique_ptr<RealServer> serve(const std::string& delay = "0") {
        return std::make_unique<RealServer>(std::vector<std::string>{
            "--output", "null", "--input", "tone:500", "--uplink-delay", delay});
    }
    /// Amplitude of the tone in the last tenth of a second.
    static double toneIn(const std::vector<std::int16_t>& samples, unsigned rate) {
        const std::size_t count = rate / 10;
        if (samples.size() < count) return 0;
        std::vector<float> last;
        std::transform(samples.end() - static_cast<std::ptrdiff_t>(count), samples.end(),
                       std::back_inserter(last),
                       [](std::int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
        return amplitudeOf(TONE, rate, last.data(), last.size());
    }
    /// Waits for the tone, or for its end.
    static bool hears(Capturing& capturing, unsigned rate, bool isOn) {
        return eventually([&] { return (toneIn(capturing.samples(), rate) > 0.3) == isOn; });
    }

    TemporaryDirectory mDirectory;
};

struct CodecRow : Row {
    const char* properties;
    const char* decoder;
    const char* more;
    unsigned rate;
};

class GstUplinkDecoded : public GstUplink, public testing::WithParamInterface<CodecRow> {};

}  // namespace

TEST_P(GstUplinkDecoded, IsTheTone) {
    const CodecRow& row = GetParam();
    if (!hasElement(row.decoder)) GTEST_SKIP() << row.decoder << " is not installed";
    const auto server = serve();
    Capturing capturing(std::string("cabinaudiouplinksrc ") + row.properties,
                        row.more + std::string(" ! ") + row.decoder +
                            " ! audioconvert ! audio/x-raw,format=S16LE,layout=interleaved");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    EXPECT_TRUE(hears(capturing, row.rate, true)) << capturing.samples().size() << " samples";
}

INSTANTIATE_TEST_SUITE_P(Codec, GstUplinkDecoded,
                         testing::Values(CodecRow{"Opus", "", "opusdec", "", 16000},
                                         CodecRow{"OpusOfFullBand", "codec-param=32000", "opusdec",
                                                  " ! audio/x-opus,rate=48000", 48000},
                                         CodecRow{"Aac", "codec=aac", "avdec_aac_latm", "", 16000},
                                         CodecRow{"AacOfFullBand", "codec=aac", "avdec_aac_latm",
                                                  " ! audio/mpeg,rate=48000", 48000}),
                         ROW_NAME);

TEST_F(GstUplink, OpusIsSilenceUntilTheRingComesAndAfterItGoes) {
    if (!hasElement("opusdec")) GTEST_SKIP() << "opusdec is not installed";
    const auto server = serve("never");
    Capturing capturing("cabinaudiouplinksrc", " ! opusdec");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBytes(sizeof(std::int16_t) * 3200));
    EXPECT_LT(toneIn(capturing.samples(), 16000), 0.01);
    ASSERT_EQ(server->command("uplink ring on"), "ok");
    EXPECT_TRUE(hears(capturing, 16000, true));
    ASSERT_EQ(server->command("uplink ring off"), "ok");
    EXPECT_TRUE(hears(capturing, 16000, false));
}

TEST_F(GstUplink, PcmIsTheServersInputSampleForSample) {
    const std::vector<std::int16_t> sound = noise16(48000);
    const std::string input = mDirectory.file("input.wav");
    writeWav(input, 48000, 1, sound);
    const RealServer server({"--output", "null", "--input", "uplink=" + input});
    Capturing capturing("cabinaudiouplinksrc codec=pcm stream-name=call",
                        " ! audio/x-raw,rate=48000,format=S16LE");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(1));
    ASSERT_TRUE(eventually([&] { return streamOf(server, "call").at("frames") >= 4800; }));
    capturing.forget();
    ASSERT_TRUE(capturing.waitForBytes(sizeof(std::int16_t) * 9600));
    const std::vector<Arrived> buffers = capturing.buffers();
    EXPECT_EQ(buffers.front().bytes.size(), 768 * sizeof(std::int16_t));
    EXPECT_EQ(buffers.front().duration, 16 * GST_MSECOND);
    std::vector<std::int16_t> twice = sound;
    twice.insert(twice.end(), sound.begin(), sound.end());
    // Silence that was due before the ring came may come first.
    std::vector<std::int16_t> samples = capturing.samples();
    samples.erase(samples.begin(), samples.begin() + 4800);
    EXPECT_NE(std::search(twice.begin(), twice.end(), samples.begin(), samples.end()), twice.end());
}

// ---- Files --------------------------------------------------------------------------------------

namespace {

struct FileRow : Row {
    const char* properties;
    const char* muxer;
    const char* codec;  // as ffprobe names it
};

class GstUplinkFile : public GstUplink, public testing::WithParamInterface<FileRow> {};

}  // namespace

TEST_P(GstUplinkFile, IsReadByAnotherProgram) {
    const FileRow& row = GetParam();
    if (!hasElement(row.muxer)) GTEST_SKIP() << row.muxer << " is not installed";
    if (!isInstalled("ffmpeg")) GTEST_SKIP() << "ffmpeg is not installed";
    const std::string file = mDirectory.file("call");
    {
        const auto server = serve();
        const Pipeline pipeline(std::string("cabinaudiouplinksrc num-buffers=25 ") +
                                row.properties + " ! " + row.muxer +
                                " ! filesink location=" + file);
        ASSERT_TRUE(pipeline.play());
    }
    const Outcome probe =
        runProgram(program({"ffprobe", "-v", "error", "-show_entries", "stream=codec_name,channels",
                            "-of", "csv=p=0", file}));
    EXPECT_EQ(probe.out, std::string(row.codec) + ",1\n") << probe.text();
    const std::string decoded = mDirectory.file("decoded.wav");
    const Outcome decoding = runProgram(program(
        {"ffmpeg", "-v", "error", "-i", file, "-ar", "16000", "-c:a", "pcm_s16le", decoded}));
    ASSERT_EQ(decoding.exitCode, 0) << decoding.text();
    const Wav wav = readWav(decoded);
    ASSERT_GT(wav.frames(), 7000U) << "25 packets of 20 ms, less what a codec cuts off";
    const std::vector<float> sound = wav.channel(0);
    // On a loaded machine the server leaves some periods out.
    double loudest = 0;
    for (std::size_t at = 0; at + 1600 <= sound.size(); at += 320)
        loudest = std::max(loudest, amplitudeOf(TONE, 16000, &sound[at], 1600));
    EXPECT_GT(loudest, 0.3);
}

INSTANTIATE_TEST_SUITE_P(Container, GstUplinkFile,
                         testing::Values(FileRow{"WebM", "", "webmmux", "opus"},
                                         FileRow{"Matroska", "", "matroskamux", "opus"},
                                         FileRow{"Ogg", "", "oggmux", "opus"},
                                         FileRow{"Loas", "codec=aac", "identity", "aac_latm"}),
                         ROW_NAME);

// ---- Formats and time ---------------------------------------------------------------------------

TEST_F(GstUplink, PacketsFollowEachOther) {
    const auto server = serve();
    Capturing capturing("cabinaudiouplinksrc");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(20));
    const std::vector<Arrived> buffers = capturing.buffers();
    EXPECT_TRUE(buffers.front().isDiscontinuous);
    for (std::size_t i = 1; i < buffers.size(); ++i) {
        EXPECT_EQ(buffers[i].duration, PACKET);
        EXPECT_GT(buffers[i].time, buffers[i - 1].time);
        if (buffers[i].isDiscontinuous) continue;
        EXPECT_LE(buffers[i].time, buffers[i - 1].time + PACKET) << "packet " << i;
    }
}

TEST_F(GstUplink, LatencyIsThatOfAPacketAPeriodAndATurn) {
    const auto server = serve();
    Capturing capturing("cabinaudiouplinksrc");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(1));
    GstQuery* const query = gst_query_new_latency();
    ASSERT_TRUE(gst_element_query(capturing.source(), query));
    gboolean isLive = FALSE;
    GstClockTime least = 0;
    gst_query_parse_latency(query, &isLive, &least, nullptr);
    gst_query_unref(query);
    EXPECT_TRUE(isLive);
    EXPECT_EQ(least, 40 * GST_MSECOND);
}

TEST_F(GstUplink, OtherCodecsAreRefused) {
    try {
        const Pipeline pipeline("cabinaudiouplinksrc codec=msbc ! fakesink");
        ADD_FAILURE() << "the library takes no live mSBC";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("could not set property \"codec\""),
                  std::string::npos)
            << error.what();
    }
}

TEST_F(GstUplink, CodecIsRefusedWhileItRuns) {
    const auto server = serve();
    Capturing capturing("cabinaudiouplinksrc");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(1));
    gst_util_set_object_arg(G_OBJECT(capturing.source()), "codec", "aac");
    gint codec = 0;
    g_object_get(capturing.source(), "codec", &codec, nullptr);
    EXPECT_EQ(codec, 32);
}

// ---- States and servers -------------------------------------------------------------------------

TEST_F(GstUplink, AacWithoutARingWaitsAndEndsAtOnce) {
    const auto server = serve("never");
    Capturing capturing("cabinaudiouplinksrc codec=aac stream-name=call");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(eventually([&] {
        const auto streams = stateOf(*server).at("streams");
        return !streams.empty() && streams.front().at("state") == "active";
    }));
    const auto begin = Clock::now();
    EXPECT_TRUE(capturing.become(GST_STATE_NULL));
    EXPECT_LT(Clock::now() - begin, generous(1s));
    EXPECT_TRUE(capturing.buffers().empty());
}

TEST_F(GstUplink, PauseStopsTheStreamAndTimesGoOnAfterwards) {
    const auto server = serve();
    Capturing capturing("cabinaudiouplinksrc stream-name=call");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(5));
    ASSERT_TRUE(capturing.become(GST_STATE_PAUSED));
    EXPECT_TRUE(eventually([&] { return streamOf(*server, "call").at("state") == "idle"; }));
    const GstClockTime end = capturing.buffers().back().time + PACKET;
    capturing.forget();
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(5));
    const std::vector<Arrived> buffers = capturing.buffers();
    EXPECT_GE(buffers.front().time, end);
    // A packet may have waited for the sink during the pause.
    EXPECT_TRUE(buffers[0].isDiscontinuous || buffers[1].isDiscontinuous);
}

TEST_F(GstUplink, TimesBeginAnewAfterReady) {
    const auto server = serve();
    Capturing capturing("cabinaudiouplinksrc");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(20));
    const GstClockTime end = capturing.buffers().back().time;
    ASSERT_TRUE(capturing.become(GST_STATE_READY));
    capturing.forget();
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBuffers(1));
    EXPECT_LT(capturing.buffers().front().time, end);
}

TEST_F(GstUplink, SurvivesManyChangesOfState) {
    const auto server = serve();
    Capturing capturing("cabinaudiouplinksrc");
    constexpr int ROUNDS = 100;
    ASSERT_EQ(capturing.changeStates(ROUNDS), "");
    EXPECT_TRUE(stateOf(*server).at("streams").empty());
}

TEST_F(GstUplink, AbsentServerIsAnErrorAtOnce) {
    Capturing capturing("cabinaudiouplinksrc");
    EXPECT_FALSE(capturing.become(GST_STATE_READY));
    EXPECT_EQ(capturing.waitForError(0ms), resourceError(GST_RESOURCE_ERROR_NOT_FOUND));
}

TEST_F(GstUplink, LossIsOneErrorAndTheEndAndTheNextServerIsUsedAfterReady) {
    for (const char* const codec : {"opus", "aac", "pcm"}) {
        SCOPED_TRACE(codec);
        auto server = serve();
        Capturing capturing(std::string("cabinaudiouplinksrc codec=") + codec);
        ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
        ASSERT_TRUE(capturing.waitForBuffers(2));
        server->kill(SIGKILL);
        server->wait();
        expectOneLoss(capturing);
        server.reset();
        server = serve();
        capturing.forget();
        ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
        EXPECT_TRUE(capturing.waitForBuffers(2));
    }
}

}  // namespace cabinaudio::test
