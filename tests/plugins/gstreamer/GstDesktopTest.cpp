// SPDX-License-Identifier: Apache-2.0
// GStreamer's programs as a desktop has them: without the launcher, for all tags and instances.
#include "tests/server/Playing.h"
#include "tests/support/Process.h"
#include "tests/support/Row.h"
#include "tests/support/SmallBuffers.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <fstream>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

class GstDesktop : public testing::Test, private SmallBuffers {
protected:
    GstDesktop() { writeWav(mSoundFile, 48000, 2, mSound); }

    [[nodiscard]] Start start(Words words) const {
        words.insert(words.begin(), "/usr/bin/env");
        Start result;
        result.words = std::move(words);
        result.variables = {{"GST_PLUGIN_PATH", CABINAUDIO_TEST_GSTREAMER},
                            {"GST_REGISTRY", mDirectory.file("registry")},
                            {"HOME", mDirectory.path()},
                            {"LD_PRELOAD", ""}};
        result.input = "/dev/null";
        return result;
    }
    /// gst-launch-1.0 of this sound into a sink.
    [[nodiscard]] Words playing(const Words& sink) const {
        Words words = {"gst-launch-1.0", "-q", "filesrc", "location=" + mSoundFile, "!",
                       "wavparse",       "!"};
        words.insert(words.end(), sink.begin(), sink.end());
        return words;
    }
    static testing::AssertionResult heardOnce(const RecordingServer& server,
                                              const std::vector<std::int16_t>& sound) {
        const auto& streams = server.report().at("streams");
        if (streams.size() != 1) return testing::AssertionFailure() << streams.size() << " streams";
        return server.heard(streams[0].at("name"), wide(sound));
    }

    const std::vector<std::int16_t> mSound = noise16(2 * 12000);  // 250 ms
    TemporaryDirectory mDirectory;
    const std::string mSoundFile = mDirectory.file("sound.wav");
};

struct TagRow : Row {
    const char* tag;
};

class GstDesktopOfTag : public GstDesktop, public testing::WithParamInterface<TagRow> {};

TEST_P(GstDesktopOfTag, IsHeardWithoutTheLauncher) {
    RecordingServer server;
    const std::string tag = GetParam().tag;
    const Outcome outcome = Process(start(playing({"cabinaudiosink", "tag=" + tag}))).finish(60s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    ASSERT_TRUE(heardOnce(server, mSound)) << outcome.text();
    EXPECT_EQ(server.report().at("streams")[0].at("tag"), tag);
}

INSTANTIATE_TEST_SUITE_P(Tag, GstDesktopOfTag,
                         testing::Values(TagRow{"Main", "main"}, TagRow{"Auxiliary", "auxiliary"},
                                         TagRow{"Alternative", "alternative"}),
                         ROW_NAME);

TEST_F(GstDesktop, UsesTheInstanceOfTheProperty) {
    RecordingServer server;
    const std::string instance = std::getenv("CABINAUDIO_INSTANCE");
    Start launch = start(playing({"cabinaudiosink", "instance=" + instance}));
    launch.variables.emplace_back("CABINAUDIO_INSTANCE", "");
    const Outcome outcome = Process(launch).finish(60s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(heardOnce(server, mSound)) << outcome.text();
}

TEST_F(GstDesktop, UsesTheStandInOfALauncher) {
    RecordingServer server;
    Start launch = start(playing({"cabinaudiosink", "tag=auxiliary"}));
    launch.variables.emplace_back("LD_PRELOAD", CABINAUDIO_TEST_BOARD);
    const Outcome outcome = Process(launch).finish(60s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(heardOnce(server, mSound)) << outcome.text();
}

TEST_F(GstDesktop, InspectorShowsTheProperties) {
    const Outcome outcome = Process(start({"gst-inspect-1.0", "cabinaudiosink"})).finish(60s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.out, testing::HasSubstr("Enum \"CabinAudioPlaybackTag\""));
    EXPECT_THAT(outcome.out, testing::HasSubstr("(1): alternative"));
}

/// This player has a copy of the variable with the log's level, which the elements must use.
TEST_F(GstDesktop, ElementsSeeTheProgramsVariables) {
    Start player = start(
        {"gst-play-1.0", "--quiet", "--no-interactive", "--audiosink=cabinaudiosink", mSoundFile});
    player.variables.emplace_back("GST_DEBUG", "cabinaudio:DEBUG");
    RecordingServer server;
    const Outcome outcome = Process(player).finish(60s);
    if (outcome.exitCode == 127) GTEST_SKIP() << "gst-play-1.0 is not installed";
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.err, testing::HasSubstr("DEBUG"));
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(heardOnce(server, mSound)) << outcome.text();
}

#ifdef CABINAUDIO_TEST_ALSA_MODULE
/// Whichever comes first binds the library for both.
TEST_F(GstDesktop, PlaysThroughAlsaBeside) {
    const std::string config = mDirectory.file("asound.conf");
    std::ofstream(config) << "</usr/share/alsa/alsa.conf>\n"
                             "<" CABINAUDIO_TEST_ALSA_DEFINITIONS
                             ">\n"
                             "pcm_type.cabinaudio.lib \"" CABINAUDIO_TEST_ALSA_MODULE "\"\n";
    if (Process(start({"gst-inspect-1.0", "--exists", "alsasink"})).finish(60s).exitCode != 0)
        GTEST_SKIP() << "alsasink is not installed";
    RecordingServer server;
    Words words = playing({"alsasink", "device=cabinaudio", "provide-clock=false"});
    const Words second = {"filesrc",        "location=" + mSoundFile, "!", "wavparse", "!",
                          "cabinaudiosink", "tag=alternative"};
    words.insert(words.end(), second.begin(), second.end());
    Start launch = start(words);
    launch.variables.emplace_back("ALSA_CONFIG_PATH", config);
    const Outcome outcome = Process(launch).finish(60s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    const auto& streams = server.report().at("streams");
    ASSERT_EQ(streams.size(), 2U) << outcome.text();
    for (const auto& stream : streams)
        EXPECT_GT(stream.at("frames"), 9600) << stream.at("name");  // one follows the other's clock
}
#endif

}  // namespace
}  // namespace cabinaudio::test
