// SPDX-License-Identifier: Apache-2.0
// Programs that know nothing of the library, without a launcher. A program that is not installed is
// skipped.
#include "tests/plugins/alsa/Formats.h"
#include "tests/plugins/alsa/Programs.h"
#include "tests/support/Generous.h"
#include "tests/support/RealTimeRight.h"
#include "tests/support/Row.h"
#include "tests/support/UserProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct PlayerRow : Row {
    Words words;  // FILE is the sound's
};

class AnyPlayer : public Programs, public testing::WithParamInterface<PlayerRow> {};
class AnyRecorder : public Programs, public testing::WithParamInterface<PlayerRow> {};

/// The words with the file's name where they say FILE.
Words withFile(Words words, const std::string& file) {
    for (std::string& word : words)
        if (const std::size_t place = word.find("FILE"); place != std::string::npos)
            word.replace(place, 4, file);
    return words;
}

}  // namespace

TEST_P(AnyPlayer, IsHeardSampleForSample) {
    SKIP_WITHOUT(GetParam().words[0]);
    RecordingServer server;
    const Outcome outcome = run(withFile(GetParam().words, mSoundFile));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(contains(server.wav(), wide(mSound)));
    ASSERT_EQ(server.report().at("streams").size(), 1U);
    EXPECT_EQ(server.report().at("streams")[0].at("underruns"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Program, AnyPlayer,
    testing::Values(
        PlayerRow{"Aplay", {"aplay", "-q", "-D", "cabinaudio", "FILE"}},
        PlayerRow{"AplayOfAnotherTag", {"aplay", "-q", "-D", "cabinaudio:alternative", "FILE"}},
        PlayerRow{"AplayMapped", {"aplay", "-q", "-M", "-D", "cabinaudio", "FILE"}},
        PlayerRow{"AplayWithoutBlocking", {"aplay", "-q", "-N", "-D", "cabinaudio", "FILE"}},
        PlayerRow{"AplayAsynchronous",
                  {"aplay", "-q", "--test-nowait", "-D", "cabinaudio", "FILE"}},
        PlayerRow{"AplayThroughPlug", {"aplay", "-q", "-D", "plug:cabinaudio", "FILE"}},
        PlayerRow{
            "AplayWithTheServersPeriod",
            {"aplay", "-q", "--buffer-size=768", "--period-size=256", "-D", "cabinaudio", "FILE"}},
        PlayerRow{
            "AplayWithLittleMore",
            {"aplay", "-q", "--buffer-size=960", "--period-size=240", "-D", "cabinaudio", "FILE"}},
        PlayerRow{"AplayWithALargeBuffer",
                  {"aplay", "-q", "--buffer-size=96000", "--period-size=24000", "-D", "cabinaudio",
                   "FILE"}},
        PlayerRow{
            "AplayWithASmallBuffer",
            {"aplay", "-q", "--buffer-size=1536", "--period-size=384", "-D", "cabinaudio", "FILE"}},
        PlayerRow{"Ffmpeg",
                  {"ffmpeg", "-v", "error", "-nostdin", "-i", "FILE", "-f", "alsa", "cabinaudio"}},
        PlayerRow{
            "FfmpegInRealTime",
            {"ffmpeg", "-v", "error", "-nostdin", "-re", "-i", "FILE", "-f", "alsa", "cabinaudio"}},
        PlayerRow{"Sox", {"sox", "-q", "FILE", "-t", "alsa", "cabinaudio"}},
        PlayerRow{"GStreamer",
                  {"gst-launch-1.0", "-q", "filesrc", "location=FILE", "!", "rawaudioparse",
                   "sample-rate=48000", "!", "alsasink", "device=cabinaudio"}},
        PlayerRow{"Mpv",
                  {"mpv", "--no-config", "--really-quiet", "--no-terminal", "--ao=alsa",
                   "--audio-device=alsa/cabinaudio", "FILE"}}),
    ROW_NAME);

TEST_F(Programs, AplayIsInterruptedAtOnce) {
    const RealServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", "-f", "dat", "/dev/zero"}));
    ASSERT_TRUE(comes([&] { return streams(server) == 1; }));
    const auto begin = Clock::now();
    aplay.send(SIGINT);
    EXPECT_EQ(aplay.finish(10s).exitCode, 1);
    EXPECT_LT(Clock::now() - begin, generous(1s));
    EXPECT_TRUE(comes([&] { return streams(server) == 0; }));
}

TEST_F(Programs, AplayThatIsInterruptedWhileTheServerStandsStillEnds) {
    const RealServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", "-f", "dat", "/dev/zero"}));
    ASSERT_TRUE(comes([&] { return streams(server) == 1; }));
    server.kill(SIGSTOP);
    const auto begin = Clock::now();
    aplay.send(SIGINT);
    EXPECT_EQ(aplay.finish(10s).exitCode, 1);
    EXPECT_LT(Clock::now() - begin, generous(3s));
    server.kill(SIGCONT);
}

TEST_F(Programs, AplayThatIsKilledLeavesNoStream) {
    const RealServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", "-f", "dat", "/dev/zero"}));
    ASSERT_TRUE(comes([&] { return streams(server) == 1; }));
    aplay.send(SIGKILL);
    EXPECT_EQ(aplay.finish(10s).signal, SIGKILL);
    EXPECT_TRUE(comes([&] { return streams(server) == 0; }));
}

TEST_F(Programs, AplayThatIsStoppedForAWhileLosesNothing) {
    RecordingServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", mSoundFile}));
    ASSERT_TRUE(comes([&] { return streams(server.server()) == 1; }));
    aplay.send(SIGSTOP);
    const auto frames = [&] {
        return stateOf(server.server()).at("streams")[0].at("frames").get<std::size_t>();
    };
    std::size_t last = 0;
    const auto isDry = [&] {
        const std::size_t before = std::exchange(last, frames());
        return before == last;
    };
    EXPECT_TRUE(comes(isDry, 40ms));
    aplay.send(SIGCONT);
    const Outcome outcome = aplay.finish(10s);
    EXPECT_EQ(outcome.exitCode, 0);
    ASSERT_TRUE(server.stop());
    EXPECT_EQ(server.report().at("streams")[0].at("underruns"), 1);
    EXPECT_TRUE(server.heard(nameOf(outcome), wide(mSound)));
}

TEST_F(Programs, AplayEndsWhenTheServerCrashes) {
    RealServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", "-f", "dat", "/dev/zero"}));
    ASSERT_TRUE(comes([&] { return streams(server) == 1; }));
    server.kill(SIGKILL);
    const auto begin = Clock::now();
    const Outcome outcome = aplay.finish(10s);
    EXPECT_LT(Clock::now() - begin, generous(2s));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, testing::HasSubstr("No such device"));
    server.wait();
}

TEST_F(Programs, AplayEndsWhenItsStreamIsRemoved) {
    const RealServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", "-f", "dat", "/dev/zero"}));
    ASSERT_TRUE(comes([&] { return streams(server) == 1; }));
    const std::string name = stateOf(server).at("streams")[0].at("name");
    const std::string answer = server.command("stream remove " + name);
    EXPECT_EQ(aplay.finish(10s).exitCode, 1) << answer;
}

TEST_F(Programs, AplaySaysThatThereIsNoServer) {
    const Outcome outcome = run({"aplay", "-q", "-D", "cabinaudio", mSoundFile});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, testing::HasSubstr("no audio server answers"));
    EXPECT_THAT(outcome.err, testing::HasSubstr("Connection refused"));
}

TEST_F(Programs, AplayPrintsNothingWhenAllIsWell) {
    const RealServer server;
    const Outcome outcome = run({"aplay", "-q", "-D", "cabinaudio", mSoundFile});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST_F(Programs, AplayAndAmixerUseItByDefaultWithTheExampleInstalled) {
    std::ofstream(mConfig, std::ios::app) << "<" CABINAUDIO_TEST_DEFAULT ">\n";
    RecordingServer server;
    const Outcome played = run({"aplay", "-q", mSoundFile});
    EXPECT_EQ(played.exitCode, 0) << played.text();
    const Outcome shown = run({"amixer", "sget", "Master"});
    EXPECT_THAT(shown.out, testing::HasSubstr("[0.00dB] [on]")) << shown.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(server.heard(nameOf(played), wide(mSound)));
}

TEST_F(Programs, AplayUsesTheInstanceOfTheDefinition) {
    std::ofstream(mConfig, std::ios::app) << "pcm.chosen { type cabinaudio instance \""
                                          << std::getenv("CABINAUDIO_INSTANCE") << "\" }\n";
    RecordingServer server;
    Start aplay = start({"aplay", "-q", "-D", "chosen", mSoundFile});
    aplay.variables.emplace_back("CABINAUDIO_INSTANCE", "");
    const Outcome outcome = Process(aplay).finish(20s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(contains(server.wav(), wide(mSound)));
}

/// Without the stand-in there is only the common instance: a network and shared memory of the
/// test's own keep it apart from other servers.
TEST_F(Programs, WithoutTheStandInOnlyRingsInSharedMemoryAreUsed) {
    if (run({"unshare", "--net", "--mount", "true"}).exitCode != 0)
        GTEST_SKIP() << "may not have a network of its own";
    std::ofstream(mConfig) << "</usr/share/alsa/alsa.conf>\n"
                              "pcm_type.cabinaudio.lib \"" CABINAUDIO_TEST_PCM
                              "\"\n"
                              "pcm.usual { type cabinaudio wait 30000 }\n"
                              "pcm.physical { type cabinaudio tag auxiliary }\n";
    const std::string report = mDirectory.file("report.json");
    const std::string script =
        "mount -t tmpfs tmpfs /dev/shm && { " + RealServer::path() +
        " --quiet --output null --report " + report +
        " & aplay -q -D usual $0; echo $?; aplay -q -D physical $0; echo $?; kill $!; wait $!; }";
    Start start = this->start({"unshare", "--net", "--mount", "sh", "-c", script, mSoundFile});
    start.variables.emplace_back("CABINAUDIO_INSTANCE", "");
    const Outcome outcome = Process(start).finish(60s);
    EXPECT_EQ(outcome.out, "0\n1\n") << outcome.text();
    EXPECT_THAT(outcome.err, testing::HasSubstr("the sound's memory is not accessible"));
    nlohmann::json streams;
    std::ifstream(report) >> streams;
    ASSERT_EQ(streams.at("streams").size(), 1U);
    EXPECT_EQ(streams.at("streams")[0].at("tag"), "alternative");
    EXPECT_GE(streams.at("streams")[0].at("frames"), mSound.size() / 2);
}

TEST_F(Programs, AplayPlaysASoundThatIsShorterThanAPeriod) {
    RecordingServer server;
    const std::vector<std::int16_t> sound = noise16(2 * 480);
    writeWav(mSoundFile, 48000, 2, sound);
    const Outcome outcome = run({"aplay", "-q", "-D", "cabinaudio", mSoundFile});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(contains(server.wav(), wide(sound)));
}

/// Twenty seconds, which take two: the server does not wait for the time.
TEST_F(Programs, AplayPlaysALongSoundWithoutALoss) {
    RecordingServer server({"--fast"});
    const std::vector<std::int16_t> sound = noise16(2 * 20 * 48000);
    writeWav(mSoundFile, 48000, 2, sound);
    const Outcome outcome = run({"aplay", "-q", "-D", "cabinaudio", mSoundFile});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(server.heard(nameOf(outcome), wide(sound)));
}

TEST_F(Programs, AplayGoesOnAfterTheServerHung) {
    RecordingServer server;
    Process aplay(start({"aplay", "-q", "-D", "cabinaudio", mSoundFile}));
    ASSERT_TRUE(comes([&] { return streams(server.server()) == 1; }));
    EXPECT_THAT(server.server().command("stall 300"), testing::HasSubstr("ok"));
    const Outcome outcome = aplay.finish(10s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(server.heard(nameOf(outcome), wide(mSound)));
}

TEST_F(Programs, AplayNeedsNoRealTimeRight) {
    RecordingServer server;
    Start aplay = start({"aplay", "-q", "-D", "cabinaudio", mSoundFile});
    aplay.inChild = giveUpRealTime;
    const Outcome outcome = Process(aplay).finish(20s);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(server.heard(nameOf(outcome), wide(mSound)));
}

/// Client and server share memory, which is of one user.
TEST_F(Programs, AplayOfAnotherUserEndsSoon) {
    if (!mayBecomeAnotherUser()) GTEST_SKIP() << "needs root";
    const RealServer server({"--output", "null", "--allow-all"});
    std::filesystem::permissions(mDirectory.path(), std::filesystem::perms::all);
    for (const char* device : {"cabinaudio", "cabinaudio:alternative"}) {
        Start aplay = start({"aplay", "-q", "-D", device, "-f", "dat", "/dev/zero"});
        aplay.inChild = [] {
            if (setresgid(NOBODY, NOBODY, NOBODY) != 0 || setresuid(NOBODY, NOBODY, NOBODY) != 0)
                _exit(99);
        };
        const Outcome outcome = Process(aplay).finish(20s);
        EXPECT_EQ(outcome.exitCode, 1) << outcome.text();
        EXPECT_THAT(outcome.err, testing::HasSubstr("Permission denied"));
        EXPECT_LT(outcome.took, generous(3s));
    }
}

TEST_F(Programs, TwoPlayersAreHeardAtOnce) {
    RecordingServer server;
    Process one(start({"aplay", "-q", "-D", "cabinaudio", mSoundFile}));
    Process two(start({"aplay", "-q", "-D", "cabinaudio:alternative", mSoundFile}));
    const Outcome outcomes[] = {one.finish(10s), two.finish(10s)};
    ASSERT_TRUE(server.stop());
    for (const Outcome& outcome : outcomes) {
        EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
        const auto& stream = server.stream(nameOf(outcome));
        EXPECT_EQ(stream.at("frames"), mSound.size() / 2);
        EXPECT_EQ(stream.at("underruns"), 0);
    }
}

TEST_P(AnyRecorder, WritesTheServersInput) {
    SKIP_WITHOUT(GetParam().words[0]);
    const RealServer server({"--output", "null", "--input", mSoundFile});
    const std::string file = mDirectory.file("recorded.wav");
    const Outcome outcome = run(withFile(GetParam().words, file));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    const Wav recorded = readWav(file);
    EXPECT_GT(recorded.frames(), 9600U);
    EXPECT_TRUE(contains(looped(mSound), recorded.samples)) << outcome.text();
}

INSTANTIATE_TEST_SUITE_P(
    Program, AnyRecorder,
    testing::Values(
        PlayerRow{"Arecord",
                  {"arecord", "-q", "-D", "cabinaudio", "-f", "dat", "-s", "12000", "FILE"}},
        PlayerRow{"ArecordMapped",
                  {"arecord", "-q", "-M", "-D", "cabinaudio", "-f", "dat", "-s", "12000", "FILE"}},
        PlayerRow{"ArecordWithoutBlocking",
                  {"arecord", "-q", "-N", "-D", "cabinaudio", "-f", "dat", "-s", "12000", "FILE"}},
        PlayerRow{"ArecordAsynchronous",
                  {"arecord", "-q", "--test-nowait", "-D", "cabinaudio", "-f", "dat", "-s", "12000",
                   "FILE"}},
        PlayerRow{"ArecordThroughPlug",
                  {"arecord", "-q", "-D", "plug:cabinaudio", "-f", "dat", "-s", "12000", "FILE"}},
        PlayerRow{"Ffmpeg",
                  {"ffmpeg", "-v", "error", "-nostdin", "-f", "alsa", "-ar", "48000", "-ac", "2",
                   "-i", "cabinaudio", "-t", "0.3", "FILE"}},
        PlayerRow{"Sox",
                  {"sox", "-q", "-r", "48000", "-c", "2", "-t", "alsa", "cabinaudio", "FILE",
                   "trim", "0", "0.25"}},
        PlayerRow{"GStreamer",
                  {"gst-launch-1.0", "-q", "alsasrc", "device=cabinaudio", "num-buffers=30", "!",
                   "audio/x-raw,format=S16LE,rate=48000,channels=2", "!", "wavenc", "!", "filesink",
                   "location=FILE"}}),
    ROW_NAME);

namespace {

struct FormatRow : Row {
    const char* format;
    unsigned bits;
    unsigned channels;
    unsigned rate;
};

class ProgramsWithFormat : public Programs, public testing::WithParamInterface<FormatRow> {
protected:
    /// aplay or arecord, with the format of raw sound.
    [[nodiscard]] Words of(const char* program) const {
        const FormatRow& row = GetParam();
        return {program, "-q",
                "-D",    "cabinaudio",
                "-t",    "raw",
                "-f",    row.format,
                "-c",    std::to_string(row.channels),
                "-r",    std::to_string(row.rate)};
    }
};

}  // namespace

TEST_P(ProgramsWithFormat, AreHeardByteForByte) {
    RealServer server({"--output", "null", "--stems", mDirectory.path()});
    const std::size_t width = GetParam().bits / 8;
    const auto sound = noiseBytes(width * GetParam().channels * GetParam().rate / 10);
    const std::string file = mDirectory.file("raw");
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(sound.data()),
               static_cast<std::streamsize>(sound.size()));
    Words words = of("aplay");
    words.push_back(file);
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_EQ(server.stop(), 0);  // the file is complete then
    const Wav heard = readWav(mDirectory.file("auxiliary-" + nameOf(outcome) + ".wav"));
    std::vector<std::int32_t> wanted = wideBytes(sound, width);
    ASSERT_GE(heard.samples.size(), wanted.size());
    wanted.resize(heard.samples.size());  // aplay ends with silence, up to whole periods
    EXPECT_TRUE(holds(heard, GetParam().rate, GetParam().channels, wanted));
}

TEST_P(ProgramsWithFormat, RecordTheServersTone) {
    const RealServer server({"--output", "null", "--input", "tone:440"});
    const unsigned channels = GetParam().channels;
    const unsigned frames = GetParam().rate / 10;
    const std::string file = mDirectory.file("raw");
    Words words = of("arecord");
    words.insert(words.end(), {"-s", std::to_string(frames), file});
    const Outcome outcome = run(words);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    const std::string bytes = contentsOf(file);
    const auto samples = wideBytes({bytes.begin(), bytes.end()}, GetParam().bits / 8);
    ASSERT_EQ(samples.size(), channels * frames);
    for (unsigned channel = 0; channel < channels; ++channel) {
        std::vector<float> heard;
        for (std::size_t i = channel; i < samples.size(); i += channels)
            heard.push_back(static_cast<float>(samples[i]) / 0x80000000U);
        // An input has two channels; the others are silent.
        EXPECT_NEAR(amplitudeOf(440, GetParam().rate, heard.data(), heard.size()),
                    channel < 2 ? 0.5 : 0, 0.001)
            << channel;
    }
}

INSTANTIATE_TEST_SUITE_P(Format, ProgramsWithFormat,
                         testing::Values(FormatRow{"U8", "U8", 8, 1, 8000},
                                         FormatRow{"S16", "S16_LE", 16, 2, 44100},
                                         FormatRow{"S24", "S24_3LE", 24, 6, 48000},
                                         FormatRow{"S32", "S32_LE", 32, 2, 96000}),
                         ROW_NAME);

TEST_F(Programs, SpeakerTestPlays) {
    RecordingServer server;
    Process speakerTest(start({"speaker-test", "-D", "cabinaudio", "-c", "2", "-r", "48000", "-t",
                               "sine", "-f", "440", "-b", "100000"}));
    EXPECT_TRUE(comes([&] {
        const auto all = stateOf(server.server()).at("streams");
        return !all.empty() && all[0].at("frames") > 24000;
    }));
    speakerTest.send(SIGTERM);
    speakerTest.finish(10s);
    ASSERT_TRUE(server.stop());
    EXPECT_EQ(server.report().at("streams")[0].at("underruns"), 0);
}

TEST_F(Programs, MpvPausesAndGoesOnWithTheNextFrame) {
    SKIP_WITHOUT("mpv");
    RecordingServer server;
    const std::string path = mDirectory.file("mpv");
    Process mpv(
        start({"mpv", "--no-config", "--really-quiet", "--no-terminal", "--ao=alsa",
               "--audio-device=alsa/cabinaudio", "--input-ipc-server=" + path, mSoundFile}));
    ASSERT_TRUE(comes([&] { return streams(server.server()) == 1; }));
    ASSERT_TRUE(comes([&] { return say(path, "set pause yes\n"); }));
    const auto isStopped = [&] {
        return stateOf(server.server()).at("streams")[0].at("state") != "active";
    };
    EXPECT_TRUE(comes(isStopped));
    ASSERT_TRUE(say(path, "set pause no\n"));
    EXPECT_EQ(mpv.finish(10s).exitCode, 0);
    ASSERT_TRUE(server.stop());
    const auto& stream = server.report().at("streams")[0];
    EXPECT_EQ(stream.at("frames"), mSound.size() / 2);
    EXPECT_TRUE(server.heard(stream.at("name"), wide(mSound)));
}

TEST_F(Programs, MpvPlaysTwoFilesWithoutAGap) {
    SKIP_WITHOUT("mpv");
    RecordingServer server;
    const std::vector<std::int16_t> second = noise16(2 * 12000, 2);
    const std::string secondFile = mDirectory.file("second.wav");
    writeWav(secondFile, 48000, 2, second);
    const Outcome outcome =
        run({"mpv", "--no-config", "--really-quiet", "--no-terminal", "--gapless-audio=yes",
             "--ao=alsa", "--audio-device=alsa/cabinaudio", mSoundFile, secondFile});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    ASSERT_TRUE(server.stop());
    std::vector<std::int16_t> both = mSound;
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_TRUE(contains(server.wav(), wide(both)));
}

TEST_F(Programs, MpvSeeksExactly) {
    SKIP_WITHOUT("mpv");
    RecordingServer server;
    const std::vector<std::int16_t> sound = noise16(2 * 96000, 3);
    const std::string file = mDirectory.file("long.wav");
    writeWav(file, 48000, 2, sound);
    const std::string path = mDirectory.file("mpv");
    Process mpv(
        start({"mpv", "--no-config", "--really-quiet", "--no-terminal", "--hr-seek=yes",
               "--ao=alsa", "--audio-device=alsa/cabinaudio", "--input-ipc-server=" + path, file}));
    ASSERT_TRUE(comes([&] { return streams(server.server()) == 1; }));
    ASSERT_TRUE(comes([&] { return say(path, "seek 1.5 absolute+exact\n"); }));
    EXPECT_EQ(mpv.finish(10s).exitCode, 0);
    ASSERT_TRUE(server.stop());
    const std::vector<std::int32_t> all = wide(sound);
    const std::vector<std::int32_t> rest(all.begin() + 2 * 72000, all.end());
    EXPECT_TRUE(contains(server.wav(), rest)) << "from the place on";
    const std::vector<std::int32_t> skipped(all.begin() + 2 * 60000, all.begin() + 2 * 60100);
    EXPECT_FALSE(contains(server.wav(), skipped));
}

}  // namespace cabinaudio::test
