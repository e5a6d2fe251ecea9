// SPDX-License-Identifier: Apache-2.0
//
// GStreamer's own programs, in the launcher.
#include "tests/plugins/gstreamer/Installed.h"
#include "tests/server/Playing.h"
#include "tests/support/Files.h"
#include "tests/support/Generous.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/Row.h"
#include "tests/support/SmallBuffers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>

namespace cabinaudio::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class GstSourcePrograms : public testing::Test, private SmallBuffers {
protected:
    GstSourcePrograms() { writeWav(mInput, 48000, 2, mSound); }

    static Start start(Words words, Variables variables = {}) {
        // Written by the first program, read by the others.
        static const TemporaryDirectory directory;
        words.insert(words.begin(), CABINAUDIO_TEST_LAUNCHER);
        Start result = program(std::move(words));
        result.variables = std::move(variables);
        result.variables.insert(result.variables.end(),
                                {{"GST_PLUGIN_PATH", CABINAUDIO_TEST_GSTREAMER},
                                 {"GST_REGISTRY", directory.file("registry")},
                                 {"LD_PRELOAD", ""}});
        return result;
    }
    static Outcome run(const Words& words, const Variables& variables = {}) {
        return Process(start(words, variables)).finish(std::chrono::minutes(1));
    }
    static bool hasFactory(const std::string& name) {
        return isInstalled("gst-launch-1.0") &&
               run({"gst-inspect-1.0", "--exists", name}).exitCode == 0;
    }
    /// @param pipeline  separated by blanks
    static Words launch(const std::string& pipeline) {
        Words words = {"gst-launch-1.0", "-q", "-e"};
        std::istringstream text(pipeline);
        for (std::string word; text >> word;)
            words.push_back(word);
        return words;
    }
    /// Whether a file is a piece of the server's input.
    [[nodiscard]] bool isPiece(const std::string& file) const {
        std::vector<std::int32_t> looped = wide(mSound);
        const std::vector<std::int32_t> once = looped;
        looped.insert(looped.end(), once.begin(), once.end());
        const Wav wav = readWav(file);
        return !wav.samples.empty() &&
               std::search(looped.begin(), looped.end(), wav.samples.begin(), wav.samples.end()) !=
                   looped.end();
    }

    const std::vector<std::int16_t> mSound = noise16(2 * 24000);
    TemporaryDirectory mDirectory;
    const std::string mInput = mDirectory.file("input.wav");
    const std::string mOutput = mDirectory.file("output.wav");
};

/// Skips the test of a program that is not there.
#define SKIP_WITHOUT(program) \
    if (!isInstalled(program)) GTEST_SKIP() << (program) << " is not installed"

TEST_F(GstSourcePrograms, InspectShowsTheSources) {
    SKIP_WITHOUT("gst-inspect-1.0");
    const Outcome plugin = run({"gst-inspect-1.0", "cabinaudio"});
    for (const char* const feature :
         {"cabinaudiosrc", "cabinaudiouplinksrc", "cabinaudiodeviceprovider"})
        EXPECT_THAT(plugin.out, HasSubstr(feature));
    const Outcome source = run({"gst-inspect-1.0", "cabinaudiosrc"});
    EXPECT_EQ(source.exitCode, 0) << source.text();
    EXPECT_EQ(source.err, "");
    for (const char* const word : {"GstStreamVolume", "tag ", "stream-param ", "stream-name ",
                                   "instance ", "wait ", "volume ", "mute ", "front_feedback"})
        EXPECT_THAT(source.out, HasSubstr(word));
    const Outcome uplink = run({"gst-inspect-1.0", "cabinaudiouplinksrc"});
    EXPECT_EQ(uplink.exitCode, 0) << uplink.text();
    EXPECT_EQ(uplink.err, "");
    for (const char* const word : {"audio/x-opus", "loas", "codec ", "codec-param "})
        EXPECT_THAT(uplink.out, HasSubstr(word));
}

TEST_F(GstSourcePrograms, DeviceMonitorShowsThePipelines) {
    SKIP_WITHOUT("gst-device-monitor-1.0");
    const RealServer server;
    const Outcome monitor = run({"gst-device-monitor-1.0", "Audio/Sink", "Audio/Source"});
    EXPECT_THAT(monitor.out, HasSubstr("name  : Cabin audio: input 1"));
    EXPECT_THAT(monitor.out, HasSubstr("gst-launch-1.0 cabinaudiosrc tag=input1 ! ..."));
    EXPECT_THAT(monitor.out, HasSubstr("gst-launch-1.0 ... ! cabinaudiosink tag=alternative"));
}

TEST_F(GstSourcePrograms, DeviceMonitorShowsNothingWithoutAServer) {
    SKIP_WITHOUT("gst-device-monitor-1.0");
    const Outcome monitor = run({"gst-device-monitor-1.0", "Audio/Sink", "Audio/Source"});
    EXPECT_EQ(monitor.exitCode, 0) << monitor.text();
    EXPECT_THAT(monitor.out, Not(HasSubstr("Cabin audio")));
}

TEST_F(GstSourcePrograms, LaunchRecordsTheInputToAFile) {
    if (!hasFactory("wavenc")) GTEST_SKIP() << "wavenc is not installed";
    const RealServer server({"--output", "null", "--input", mInput});
    const Outcome outcome =
        run(launch("cabinaudiosrc num-buffers=25 ! wavenc ! filesink location=" + mOutput));
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(readWav(mOutput).frames(), 25 * 768U);
    EXPECT_TRUE(isPiece(mOutput));
}

TEST_F(GstSourcePrograms, InterruptedLaunchCompletesTheFile) {
    if (!hasFactory("wavenc")) GTEST_SKIP() << "wavenc is not installed";
    const RealServer server({"--output", "null", "--input", mInput});
    Process recorder(
        start(launch("cabinaudiosrc ! wavenc ! filesink buffer-mode=2 location=" + mOutput)));
    ASSERT_TRUE(eventually([&] {
        return std::filesystem::exists(mOutput) && std::filesystem::file_size(mOutput) > 10000;
    }));
    recorder.send(SIGINT);
    const Outcome outcome = recorder.finish(std::chrono::seconds(20));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_TRUE(isPiece(mOutput));
}

TEST_F(GstSourcePrograms, LaunchEndsWithTheServerAndKeepsTheFile) {
    if (!hasFactory("wavenc")) GTEST_SKIP() << "wavenc is not installed";
    RealServer server({"--output", "null", "--input", mInput});
    Process recorder(
        start(launch("cabinaudiosrc ! wavenc ! filesink buffer-mode=2 location=" + mOutput)));
    ASSERT_TRUE(eventually([&] {
        return std::filesystem::exists(mOutput) && std::filesystem::file_size(mOutput) > 10000;
    }));
    server.kill(SIGKILL);
    server.wait();
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = recorder.finish(std::chrono::seconds(20));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, generous(std::chrono::seconds(2)));
    EXPECT_NE(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("The audio server has gone, or has removed the stream."));
    EXPECT_TRUE(isPiece(mOutput));
}

TEST_F(GstSourcePrograms, AutomaticSourceIsChosenByItsRank) {
    SKIP_WITHOUT("gst-launch-1.0");
    const RealServer server;
    const Outcome outcome =
        run({"gst-launch-1.0", "-v", "autoaudiosrc", "!", "fakesink", "num-buffers=3"},
            {{"GST_PLUGIN_FEATURE_RANK", "cabinaudiosrc:MAX"}});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.out, HasSubstr("CabinAudioSrc:"));
}

struct LeakRow : Row {
    const char* pipeline;
};

class GstSourceLeaks : public GstSourcePrograms, public testing::WithParamInterface<LeakRow> {};

TEST_P(GstSourceLeaks, AreNone) {
    SKIP_WITHOUT("gst-launch-1.0");
    const RealServer server;
    const Outcome outcome =
        run(launch(GetParam().pipeline), {{"GST_TRACERS", "leaks"}, {"GST_DEBUG", "GST_TRACER:7"}});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_THAT(outcome.err, HasSubstr("object-alive.class")) << "the tracer works";
    EXPECT_THAT(outcome.err, Not(HasSubstr("object-alive, type-name=(string)Gst")));
    EXPECT_THAT(outcome.err, Not(HasSubstr("object-alive, type-name=(string)Cabin")));
}

INSTANTIATE_TEST_SUITE_P(
    Pipeline, GstSourceLeaks,
    testing::Values(LeakRow{"Source", "cabinaudiosrc num-buffers=5 ! fakesink"},
                    LeakRow{"Opus", "cabinaudiouplinksrc num-buffers=5 ! fakesink"},
                    LeakRow{"Aac", "cabinaudiouplinksrc codec=aac num-buffers=2 ! fakesink"},
                    LeakRow{"Pcm", "cabinaudiouplinksrc codec=pcm num-buffers=5 ! fakesink"}),
    ROW_NAME);

TEST_F(GstSourcePrograms, DeviceMonitorLeavesNothing) {
    SKIP_WITHOUT("gst-device-monitor-1.0");
    const RealServer server;
    const Outcome outcome = run({"gst-device-monitor-1.0", "Audio/Source"},
                                {{"GST_TRACERS", "leaks"}, {"GST_DEBUG", "GST_TRACER:7"}});
    EXPECT_THAT(outcome.out, HasSubstr("Cabin audio: input 0"));
    EXPECT_THAT(outcome.err, Not(HasSubstr("object-alive, type-name=(string)Cabin")));
}

}  // namespace
}  // namespace cabinaudio::test
