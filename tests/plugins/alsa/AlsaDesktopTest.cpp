// SPDX-License-Identifier: Apache-2.0
// Sound servers and a browser of a desktop that play through ALSA, without a launcher.
#include "tests/plugins/alsa/Programs.h"
#include "tests/sound/SoundServer.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>

#include <cmath>
#include <csignal>
#include <numbers>

namespace cabinaudio::test {

using namespace std::chrono_literals;

namespace {

/// A sound server stops at once what it has not played: waits for more than its buffer.
void waitForItsBuffer(const RealServer& server) {
    const std::uint64_t end = outputFrames(server) + 24000;
    EXPECT_TRUE(eventually([&] { return outputFrames(server) > end; }));
}

std::vector<std::int32_t> withoutSilence(std::vector<std::int32_t> samples) {
    samples.erase(std::remove(samples.begin(), samples.end(), 0), samples.end());
    return samples;
}

/// The clock of the graph is the sink's; otherwise PipeWire resamples.
constexpr char PIPEWIRE_SINK[] = R"(
    factory.name    = api.alsa.pcm.sink
    api.alsa.path   = cabinaudio
    audio.format    = S16LE
    audio.rate      = 48000
    audio.channels  = 2
    priority.driver = 30000
)";

}  // namespace

TEST_F(Programs, PulseAudioPlaysThroughItsAlsaSink) {
    SKIP_WITHOUT("pulseaudio");
    SKIP_WITHOUT("paplay");
    RecordingServer server;
    const std::string path = mDirectory.file("desktop");
    Start pulse = start({"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no",
                         "--exit-idle-time=-1", "--disable-shm=yes", "-L",
                         "module-alsa-sink device=cabinaudio rate=48000 channels=2 format=s16le",
                         "-L", "module-native-protocol-unix auth-anonymous=1 socket=" + path});
    pulse.variables.emplace_back("PULSE_RUNTIME_PATH", mDirectory.path());
    Process daemon(pulse);
    ASSERT_TRUE(comes([&] { return say(path, ""); }));
    Start play = start({"paplay", mSoundFile});
    play.variables.emplace_back("PULSE_SERVER", "unix:" + path);
    const Outcome outcome = Process(play).finish(20s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    waitForItsBuffer(server.server());
    daemon.send(SIGTERM);
    daemon.finish(20s);
    ASSERT_TRUE(server.stop());
    EXPECT_TRUE(contains(server.wav(), wide(mSound)));
    EXPECT_EQ(server.report().at("streams")[0].at("underruns"), 0);
}

TEST_F(Programs, PipeWirePlaysThroughItsAlsaSink) {
    for (const std::string& program : SoundServer::programsOf(SoundServer::Kind::PipeWire))
        SKIP_WITHOUT(program);
    SKIP_WITHOUT("paplay");
    RecordingServer server;
    setenv("ALSA_CONFIG_PATH", mConfig.c_str(), 1);
    SoundServer desktop(SoundServer::Kind::PipeWire, PIPEWIRE_SINK);
    unsetenv("ALSA_CONFIG_PATH");
    Start play = start({"paplay", mSoundFile});
    play.variables.emplace_back("PULSE_SERVER", "unix:" + desktop.file("socket"));
    const Outcome outcome = Process(play).finish(20s);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    waitForItsBuffer(server.server());
    desktop.send(SIGTERM);
    ASSERT_TRUE(server.stop());
    // PipeWire inserts silence when one of its own threads is late.
    EXPECT_TRUE(withoutSilence(server.wav().samples) == withoutSilence(wide(mSound)));
}

TEST_F(Programs, ChromiumPlaysAPage) {
    SKIP_WITHOUT("chromium");
    RecordingServer server;
    const std::string page = mDirectory.file("tone.html");
    std::ofstream(page)
        << "<script>const c = new AudioContext({sampleRate: 48000});"
           "const o = c.createOscillator(); o.frequency.value = 440;"
           "o.connect(c.destination); o.start(); o.stop(c.currentTime + 4);</script>";
    Process chromium(
        start({"chromium", "--headless", "--no-sandbox", "--disable-gpu",
               "--user-data-dir=" + mDirectory.file("profile"),
               "--autoplay-policy=no-user-gesture-required", "--alsa-output-device=cabinaudio",
               "--remote-debugging-port=0", "file://" + page}));
    const bool hasPlayed = comes(
        [&] {
            const auto state = stateOf(server.server()).at("streams");
            return !state.empty() && state[0].at("frames") > 5 * 48000;
        },
        20ms, 60s);
    chromium.send(SIGTERM);
    chromium.finish(20s);
    ASSERT_TRUE(server.stop());
    ASSERT_TRUE(hasPlayed);
    const std::vector<float> heard = server.wav().channel(0);
    const auto begin = std::find_if(heard.begin(), heard.end(),
                                    [](float sample) { return std::abs(sample) > 0.5F; });
    // Chromium begins and ends its tone smoothly.
    constexpr std::ptrdiff_t MARGIN = 4800;
    constexpr std::ptrdiff_t LENGTH = 4 * 48000;
    ASSERT_GT(heard.end() - begin, LENGTH);
    // A sine fulfils x(n+1) + x(n-1) = 2 cos(w) x(n); a gap does not.
    const double factor = 2 * std::cos(2 * std::numbers::pi * 440 / 48000);
    for (auto place = begin + MARGIN; place != begin + LENGTH - MARGIN; ++place)
        ASSERT_NEAR(place[1] + place[-1], factor * place[0], 0.001) << place - heard.begin();
    EXPECT_EQ(std::count_if(begin + LENGTH + MARGIN, heard.end(),
                            [](float sample) { return std::abs(sample) > 0.001F; }),
              0);
    EXPECT_EQ(server.report().at("streams")[0].at("underruns"), 0);
}

}  // namespace cabinaudio::test
