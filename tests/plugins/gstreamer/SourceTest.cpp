// SPDX-License-Identifier: Apache-2.0
#include "tests/plugins/gstreamer/Capturing.h"
#include "tests/server/Sound.h"
#include "tests/server/State.h"
#include "tests/support/Files.h"
#include "tests/support/Generous.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/Row.h"
#include "tests/support/SmallBuffers.h"

#include <gst/audio/streamvolume.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t LOOP = 24000;  // frames of the input, which the server repeats
constexpr std::size_t FRAME = 4;     // bytes, two channels
constexpr GstClockTime PERIOD = 16 * GST_MSECOND;

/// Whether the samples are a piece of a sound that is repeated.
template <typename Sample>
bool isPieceOf(std::vector<Sample> sound, const std::vector<Sample>& piece) {
    const std::vector<Sample> once = sound;
    sound.insert(sound.end(), once.begin(), once.end());
    return !piece.empty() &&
           std::search(sound.begin(), sound.end(), piece.begin(), piece.end()) != sound.end();
}

class GstSource : public testing::Test, private SmallBuffers {
protected:
    GstSource() { writeWav(mInput, 48000, 2, mSound); }

    [[nodiscard]] std::unique_ptr<RealServer> serve() const {
        return std::make_unique<RealServer>(
            std::vector<std::string>{"--output", "null", "--input", mInput});
    }
    [[nodiscard]] bool isPiece(const std::vector<std::int16_t>& samples) const {
        return isPieceOf(mSound, samples);
    }
    /// Plays until some sound has come.
    static bool capture(Capturing& capturing, std::size_t frames = 4800) {
        return capturing.become(GST_STATE_PLAYING) && capturing.waitForBytes(FRAME * frames);
    }

    const std::vector<std::int16_t> mSound = noise16(2 * LOOP);
    TemporaryDirectory mDirectory;
    const std::string mInput = mDirectory.file("input.wav");
};

struct KindRow : Row {
    const char* properties;
    const char* format;
    std::size_t bytes;  // of a sample
};

class GstSourceOfAnyKind : public GstSource, public testing::WithParamInterface<KindRow> {};

/// The input in another format.
std::vector<unsigned char> widened(const std::vector<std::int16_t>& samples, std::size_t bytes) {
    std::vector<unsigned char> result(samples.size() * bytes);
    for (std::size_t i = 0; i < samples.size(); ++i)
        std::memcpy(&result[i * bytes + bytes - sizeof samples[i]], &samples[i], sizeof samples[i]);
    return result;
}

}  // namespace

// ---- Sound --------------------------------------------------------------------------------------

TEST_P(GstSourceOfAnyKind, IsTheServersInputSampleForSample) {
    const auto server = serve();
    Capturing capturing(
        std::string("cabinaudiosrc ") + GetParam().properties,
        std::string(" ! audio/x-raw,rate=48000,channels=2,format=") + GetParam().format);
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBytes(2 * GetParam().bytes * 9600));
    EXPECT_TRUE(isPieceOf(widened(mSound, GetParam().bytes), capturing.bytes()));
}

INSTANTIATE_TEST_SUITE_P(
    Kind, GstSourceOfAnyKind,
    testing::Values(KindRow{"S16", "", "S16LE", 2}, KindRow{"S24", "tag=input1", "S24LE", 3},
                    KindRow{"S32", "tag=input2", "S32LE", 4},
                    KindRow{"FrontFeedback", "tag=input_front_feedback", "S16LE", 2}),
    ROW_NAME);

TEST_F(GstSource, TakesTheRateOfTheServerIfNoneIsAskedFor) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing));
    EXPECT_TRUE(isPiece(capturing.samples()));
}

TEST_F(GstSource, OrdersChannelsByTheirPositions) {
    constexpr std::size_t CHANNELS = 6;
    const std::vector<std::int16_t> sound = noise16(CHANNELS * LOOP);
    const std::string input = mDirectory.file("six.wav");
    writeWav(input, 48000, CHANNELS, sound);
    const RealServer server({"--output", "null", "--input", input});
    // The server has left, right, rear left, rear right, center, low frequencies.
    constexpr std::array<std::size_t, CHANNELS> PLACES = {0, 1, 4, 5, 2, 3};
    std::vector<std::int16_t> ordered;
    for (std::size_t i = 0; i < sound.size(); i += CHANNELS)
        for (const std::size_t place : PLACES)
            ordered.push_back(sound[i + place]);
    Capturing capturing("cabinaudiosrc", " ! audio/x-raw,channels=6,channel-mask=(bitmask)0x3f");
    ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
    ASSERT_TRUE(capturing.waitForBytes(CHANNELS * 2 * 2400));
    EXPECT_TRUE(isPieceOf(ordered, capturing.samples()));
}

TEST_F(GstSource, TwoAtOnceAreStreamsOfTheirOwn) {
    const auto server = serve();
    Capturing first("cabinaudiosrc stream-name=ear");
    Capturing second("cabinaudiosrc stream-name=ear tag=input1");
    ASSERT_TRUE(capture(first));
    ASSERT_TRUE(capture(second));
    EXPECT_TRUE(isPiece(first.samples()));
    EXPECT_TRUE(isPiece(second.samples()));
    EXPECT_EQ(streamOf(*server, "ear").at("tag"), "input0");
    EXPECT_EQ(streamOf(*server, "ear-2").at("tag"), "input1");
}

TEST_F(GstSource, OfTheUplinkIsTheServersInput) {
    const RealServer server(
        {"--output", "null", "--input", "uplink=" + mInput, "--uplink-delay", "never"});
    Capturing capturing("cabinaudiosrc tag=uplink stream-name=call",
                        " ! audio/x-raw,rate=48000,channels=2");
    ASSERT_TRUE(capture(capturing, 960));
    EXPECT_FALSE(isPiece(capturing.samples())) << "noise of very low level";
    ASSERT_EQ(server.command("uplink ring on"), "ok");
    ASSERT_TRUE(eventually([&] { return streamOf(server, "call").at("frames") >= 2400; }));
    capturing.forget();
    ASSERT_TRUE(capturing.waitForBytes(FRAME * 9600));
    std::vector<std::int16_t> samples = capturing.samples();
    samples.erase(samples.begin(), samples.begin() + 2 * 4800);
    EXPECT_TRUE(isPiece(samples));
}

// ---- Time ---------------------------------------------------------------------------------------

TEST_F(GstSource, LatencyIsAPeriodOfTheServer) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing));
    GstQuery* const query = gst_query_new_latency();
    ASSERT_TRUE(gst_element_query(capturing.source(), query));
    gboolean isLive = FALSE;
    GstClockTime least = 0;
    GstClockTime most = 0;
    gst_query_parse_latency(query, &isLive, &least, &most);
    gst_query_unref(query);
    EXPECT_TRUE(isLive);
    EXPECT_EQ(least, PERIOD);
    EXPECT_GE(most, 2 * PERIOD);
}

TEST_F(GstSource, SegmentsAreAsManyPeriodsAsTheLatencyTimeHas) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc latency-time=50000");
    ASSERT_TRUE(capture(capturing));
    EXPECT_EQ(capturing.buffers().front().bytes.size(), 3 * 768 * FRAME);
}

TEST_F(GstSource, TimestampsFollowEachOtherFromTheStart) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing, 9600));
    const std::vector<Arrived> buffers = capturing.buffers();
    EXPECT_LT(buffers.front().time, GST_SECOND);
    for (std::size_t i = 1; i < buffers.size(); ++i) {
        EXPECT_EQ(buffers[i].duration, PERIOD);
        EXPECT_EQ(buffers[i].time, buffers[i - 1].time + PERIOD);
        EXPECT_FALSE(buffers[i].isDiscontinuous);
    }
}

TEST_F(GstSource, IsLive) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    EXPECT_EQ(gst_element_set_state(capturing.pipeline(), GST_STATE_PAUSED),
              GST_STATE_CHANGE_NO_PREROLL);
}

// ---- States -------------------------------------------------------------------------------------

TEST_F(GstSource, PauseStopsTheStreamAndResumptionBeginsWithNewSound) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc stream-name=ear");
    ASSERT_TRUE(capture(capturing));
    ASSERT_TRUE(capturing.become(GST_STATE_PAUSED));
    EXPECT_TRUE(eventually([&] { return streamOf(*server, "ear").at("state") != "active"; }));
    EXPECT_TRUE(isPiece(capturing.samples()));
    capturing.forget();
    ASSERT_TRUE(capture(capturing, 9600));
    std::vector<std::int16_t> samples = capturing.samples();
    // Segments that were full at the pause come first.
    samples.erase(samples.begin(), samples.begin() + 2 * 4800);
    EXPECT_TRUE(isPiece(samples));
}

TEST_F(GstSource, SurvivesManyChangesOfState) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    constexpr int ROUNDS = 200;
    ASSERT_EQ(capturing.changeStates(ROUNDS), "");
    ASSERT_TRUE(capture(capturing));
    EXPECT_TRUE(isPiece(capturing.samples()));
    EXPECT_EQ(stateOf(*server).at("streams").size(), 1U) << "the others have ended";
}

TEST_F(GstSource, EndsWithinTheLimitOfRepliesWhileTheServerStandsStill) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing));
    server->kill(SIGSTOP);
    const auto begin = Clock::now();
    EXPECT_TRUE(capturing.become(GST_STATE_NULL));
    EXPECT_LT(Clock::now() - begin, generous(3s));
    server->kill(SIGCONT);
}

TEST_F(GstSource, ChildOfAForkLeavesTheStreamAlone) {
    const auto server = serve();
    for (const char* const source : {"cabinaudiosrc", "cabinaudiouplinksrc codec=pcm"}) {
        SCOPED_TRACE(source);
        Capturing capturing(std::string(source) + " stream-name=ear");
        ASSERT_TRUE(capturing.become(GST_STATE_PLAYING));
        ASSERT_TRUE(capturing.waitForBuffers(3));
        GstElement* const element = capturing.source();
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);
            if (GST_IS_STREAM_VOLUME(element)) g_object_set(element, "mute", TRUE, nullptr);
            const auto result = gst_element_set_state(element, GST_STATE_NULL);
            _exit(result == GST_STATE_CHANGE_FAILURE ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(streamOf(*server, "ear").at("state"), "active");
        EXPECT_NE(streamOf(*server, "ear").at("volume"), 0);
        capturing.forget();
        EXPECT_TRUE(capturing.waitForBuffers(10));
    }
}

TEST_F(GstSource, PropertiesOfTheStreamAreRefusedWhileItCaptures) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc stream-name=ear");
    ASSERT_TRUE(capture(capturing));
    g_object_set(capturing.source(), "stream-name", "other", nullptr);
    gchar* name = nullptr;
    g_object_get(capturing.source(), "stream-name", &name, nullptr);
    EXPECT_STREQ(name, "ear");
    g_free(name);
}

// ---- Servers ------------------------------------------------------------------------------------

TEST_F(GstSource, AbsentServerIsAnErrorAtOnce) {
    Capturing capturing("cabinaudiosrc");
    EXPECT_FALSE(capturing.become(GST_STATE_READY));
    EXPECT_EQ(capturing.waitForError(0ms), resourceError(GST_RESOURCE_ERROR_NOT_FOUND));
}

TEST_F(GstSource, LossIsOneErrorAndTheEndOfTheSound) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing));
    server->kill(SIGKILL);
    server->wait();
    expectOneLoss(capturing);
}

TEST_F(GstSource, LossCostsNoProcessor) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing));
    server->kill(SIGKILL);
    server->wait();
    ASSERT_TRUE(capturing.waitForEnd());
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(200ms);  // the thing that is measured
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
}

TEST_F(GstSource, WaitGivesAServerTimeToComeUp) {
    Capturing capturing("cabinaudiosrc wait=20000");
    std::atomic<bool> isReady = false;
    std::thread opener([&] { isReady = capturing.become(GST_STATE_READY); });
    const auto server = serve();
    opener.join();
    EXPECT_TRUE(isReady);
}

TEST_F(GstSource, RemovedStreamIsALoss) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc stream-name=ear");
    ASSERT_TRUE(capture(capturing));
    ASSERT_EQ(server->command("stream remove ear"), "ok");
    EXPECT_EQ(capturing.waitForError(), resourceError(GST_RESOURCE_ERROR_READ));
}

TEST_F(GstSource, UsesTheNextServerAfterReady) {
    auto server = serve();
    Capturing capturing("cabinaudiosrc");
    ASSERT_TRUE(capture(capturing));
    server->kill(SIGKILL);
    server->wait();
    ASSERT_NE(capturing.waitForError(), "");
    ASSERT_TRUE(capturing.become(GST_STATE_READY));
    server.reset();
    server = serve();
    capturing.forget();
    ASSERT_TRUE(capture(capturing));
    EXPECT_TRUE(isPiece(capturing.samples()));
}

// ---- Volume -------------------------------------------------------------------------------------

TEST_F(GstSource, VolumeIsThatOfTheStream) {
    const auto server = serve();
    Capturing capturing("cabinaudiosrc stream-name=ear volume=0.5");
    ASSERT_TRUE(GST_IS_STREAM_VOLUME(capturing.source()));
    ASSERT_TRUE(capture(capturing));
    EXPECT_EQ(streamOf(*server, "ear").at("volume"), 50);
    auto* const volume = GST_STREAM_VOLUME(capturing.source());
    gst_stream_volume_set_volume(volume, GST_STREAM_VOLUME_FORMAT_LINEAR, 4.0);
    EXPECT_EQ(streamOf(*server, "ear").at("volume"), 100) << "the most that there is";
    gst_stream_volume_set_mute(volume, TRUE);
    EXPECT_EQ(streamOf(*server, "ear").at("volume"), 0);
    EXPECT_TRUE(gst_stream_volume_get_mute(volume));
    gst_stream_volume_set_mute(volume, FALSE);
    EXPECT_EQ(streamOf(*server, "ear").at("volume"), 100);
}

}  // namespace cabinaudio::test
