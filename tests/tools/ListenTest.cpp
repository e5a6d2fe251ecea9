// SPDX-License-Identifier: Apache-2.0
// Listening to a running server.
#include "devkit/server/taps/TapRecord.h"
#include "tests/support/LocalSocket.h"
#include "tests/tools/ToolTest.h"

#include <sys/socket.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <deque>
#include <stdexcept>
#include <thread>

namespace cabinaudio::test {

namespace {

using server::TapHeader;
using server::TapRecord;
using testing::EndsWith;

class Listen : public ToolTest {
protected:
    /// A server that writes "heard.wav".
    void serveToFile(const Words& more = {}) {
        mServer =
            std::make_unique<RealServer>(with({"--output", "wav:" + file("heard.wav")}, more));
    }

    /// Starts `listen` and waits until the server sends to it.
    ToolProcess& listen(const Words& arguments) {
        mListeners.emplace_back(with({"listen"}, arguments));
        waitForListeners(++mExpected);
        return mListeners.back();
    }

    void waitForListeners(std::size_t count) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (listeners().size() != count) {
            if (std::chrono::steady_clock::now() > deadline)
                throw std::runtime_error("listeners: " + listeners().dump());
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    [[nodiscard]] json listeners() const {
        return json::parse(mServer->command("state")).at("listeners");
    }

    void play(const std::string& name, std::size_t frames) const {
        writeSound(file(name + ".wav"), {.frames = frames});
        runExpecting(0, {"play", "--name", name, file(name + ".wav")});
    }
    [[nodiscard]] std::vector<std::int32_t> soundOf(const std::string& name) const {
        return readSound(file(name)).samples;
    }

    std::deque<ToolProcess> mListeners;
    std::size_t mExpected = 0;
};

/// Every second sample, from the `first`.
std::vector<std::int32_t> channelOf(const std::vector<std::int32_t>& stereo, std::size_t first) {
    std::vector<std::int32_t> channel;
    for (std::size_t i = first; i < stereo.size(); i += 2)
        channel.push_back(stereo[i]);
    return channel;
}

/// The connection that sends a command; those before it only try whether somebody listens.
server::UniqueFd acceptCommand(int listening) {
    char byte = 0;
    while (isReadable(listening, 60000)) {
        server::UniqueFd connection(accept(listening, nullptr, nullptr));
        if (recv(connection.get(), &byte, 1, MSG_PEEK) == 1) return connection;
    }
    return server::UniqueFd(-1);
}

}  // namespace

TEST_F(Listen, StoresExactlyTheServersOutput) {
    serveToFile();
    ToolProcess& mix = listen({file("mix.wav")});
    ToolProcess& right = listen({"--loudspeaker", "RF", file("right.flac")});
    ToolProcess& again = listen({"--loudspeaker", "1", "--raw", file("again.raw")});
    runExpecting(0, {"set", "volume.master=-6dB"});
    play("radio", 12000);
    ASSERT_EQ(mServer->stop(), 0);
    const Outcome ended = mix.finishExpecting(3);
    EXPECT_THAT(ended.err, HasSubstr("mix.wav: the server ended, 0:0"));
    right.finishExpecting(3);
    again.finishExpecting(3);
    EXPECT_EQ(contentsOf(file("mix.wav")), contentsOf(file("heard.wav")));
    EXPECT_EQ(soundOf("right.flac"), channelOf(soundOf("heard.wav"), 1));
    EXPECT_EQ(contentsOf(file("again.raw")).size(), soundOf("right.flac").size() * 2);
}

TEST_F(Listen, StoresAStreamAfterItsGainsInStepWithTheMix) {
    serveToFile({"--format", "s32"});
    ToolProcess& first = listen({"--stream", "first", file("a.wav")});
    ToolProcess& second = listen({"--stream", "second", file("b.wav"), "--json"});
    ToolProcess& mix = listen({file("mix.wav")});
    runExpecting(0, {"set", "volume.track.auxiliary.first=-12dB"});
    writeSound(file("sound.wav"), {.frames = 12000});
    const Words sound = {"play", "--tag", "auxiliary", file("sound.wav"), "--name"};
    ToolProcess one(with(sound, {"first"}));
    ToolProcess other(with(sound, {"second"}));
    one.finishExpecting(0);
    other.finishExpecting(0);
    EXPECT_THAT(first.finishExpecting(0).out, HasSubstr("a.wav: the stream ended"));
    const json report = jsonOf(second.finishExpecting(0));
    EXPECT_EQ(report.at("stream"), "second");
    EXPECT_EQ(report.at("lost_frames"), 0);
    EXPECT_EQ(report.at("ended"), "heard");
    EXPECT_EQ(report.at("error"), nullptr);
    mix.send(SIGINT);
    mix.finishExpecting(0);

    // The gain's factor; unity gain leaves the samples unchanged.
    const auto source = soundOf("sound.wav");
    EXPECT_EQ(withoutSilence(soundOf("b.wav")), source);
    const auto quiet = withoutSilence(soundOf("a.wav"));
    ASSERT_EQ(quiet.size(), source.size());
    for (std::size_t i = 0; i < quiet.size(); ++i)
        ASSERT_NEAR(quiet[i], source[i] * std::pow(10, -12.0 / 20), 256) << i;
}

TEST_F(Listen, StoresEveryFrameWithoutAClock) {
    serveToFile({"--fast"});
    ToolProcess& mix = listen({file("mix.wav")});
    ToolProcess& stream = listen({"--stream", "second", file("share.wav")});
    play("first", 480000);
    play("second", 48000);
    ASSERT_EQ(mServer->stop(), 0);
    mix.finishExpecting(3);
    stream.finishExpecting(0);
    EXPECT_EQ(contentsOf(file("mix.wav")), contentsOf(file("heard.wav")));
    EXPECT_EQ(withoutSilence(soundOf("share.wav")), soundOf("second.wav"));
}

TEST_F(Listen, StopsAfterTheDuration) {
    serve();
    ToolProcess& mix = listen({file("mix.wav"), "--seconds", "0.1"});
    ToolProcess& pipe = listen({"-", "--seconds", "0.1", "--format", "s24"});
    play("radio", 12000);
    EXPECT_THAT(mix.finishExpecting(0).out, HasSubstr("mix.wav: heard, 0:00.1 of the mix; peak"));
    EXPECT_EQ(soundOf("mix.wav").size(), 4800 * 2U);
    EXPECT_EQ(pipe.finishExpecting(0).out.size(), 4800 * 2 * 3U);
}

TEST_F(Listen, StoresAnOutputOfFloatsAsWholeNumbers) {
    serve({"--format", "float"});
    ToolProcess& mix = listen({file("mix.wav"), "--seconds", "0.1"});
    play("radio", 12000);
    mix.finishExpecting(0);
    EXPECT_EQ(readSound(file("mix.wav")).info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_32);
    const auto heard = withoutSilence(soundOf("mix.wav"));
    const auto source = soundOf("radio.wav");
    ASSERT_FALSE(heard.empty());
    EXPECT_TRUE(std::equal(heard.begin(), heard.end(), source.begin()));
}

TEST_F(Listen, CompletesItsFileWhenInterrupted) {
    serve();
    ToolProcess& endless = listen({file("a.wav")});
    ToolProcess& limited = listen({file("b.wav"), "--seconds", "5"});
    play("radio", 4800);
    endless.send(SIGTERM);
    limited.send(SIGINT);
    EXPECT_THAT(endless.finishExpecting(0).out, HasSubstr("a.wav: heard until SIGTERM, 0:0"));
    EXPECT_THAT(limited.finishExpecting(1).err, HasSubstr("b.wav: interrupted by SIGINT, 0:0"));
    EXPECT_FALSE(withoutSilence(soundOf("a.wav")).empty());
    EXPECT_EQ(withoutSilence(soundOf("a.wav")), withoutSilence(soundOf("b.wav")));
}

TEST_F(Listen, IsNotDisturbedByListenersThatAreKilledOrStopReading) {
    serveToFile();
    ToolProcess& killed = listen({file("killed.wav")});
    ToolProcess& stopped = listen({file("stopped.wav")});
    ToolProcess& mix = listen({file("mix.wav")});
    stopped.send(SIGSTOP);
    killed.send(SIGKILL);
    EXPECT_EQ(killed.finish().signal, SIGKILL);
    play("radio", 12000);
    waitForListeners(2);
    EXPECT_EQ(mServer->stop(), 0);
    mix.finishExpecting(3);
    EXPECT_EQ(contentsOf(file("mix.wav")), contentsOf(file("heard.wav")));
    stopped.send(SIGCONT);
    stopped.finishExpecting(3);
    EXPECT_EQ(contentsOf(file("stopped.wav")), contentsOf(file("heard.wav")));
}

TEST_F(Listen, CompletesItsFileWhenTheServerIsKilled) {
    serve();
    ToolProcess& mix = listen({file("mix.wav"), "--json"});
    play("radio", 4800);
    mServer->kill(SIGKILL);
    mServer->wait();
    const Outcome outcome = mix.finishExpecting(3);
    EXPECT_THAT(outcome.err, HasSubstr("mix.wav: the server went away, 0:0"));
    const json report = jsonOf(outcome);
    EXPECT_EQ(report.at("ended"), "lost");
    EXPECT_THAT(report.at("error"), HasSubstr("the server went away"));
    EXPECT_EQ(report.at("exit"), 3);
    EXPECT_FALSE(withoutSilence(soundOf("mix.wav")).empty());
}

TEST_F(Listen, NamesItsReasonWhenItCannot) {
    serve();
    for (const auto& [status, line, text] :
         std::initializer_list<std::tuple<int, CommandLine, std::string>>{
             {4, "--stream nix --timeout 0.05", "timed out after 0.05 s waiting for stream 'nix'"},
             {1, "--loudspeaker CF", "the output has no loudspeaker 4; it has 2 channels"},
             {2, "--loudspeaker XX", "must be LF, RF, LS, RS, CF or L1, or 0 to 5"},
             {2, "--format u8", "must be one of s16, s24, s32"}}) {
        const Words words = with({"listen", file("a.wav")}, line.words);
        EXPECT_THAT(runExpecting(status, words).err, HasSubstr(text));
    }
    EXPECT_THAT(runExpecting(2, {"listen", "a.mp3"}).err, HasSubstr("cannot tell how to store"));
    EXPECT_THAT(runExpecting(1, {"listen", file("no/a.wav")}).err, HasSubstr("No such file"));
    mServer->stop();
    EXPECT_THAT(runExpecting(3, {"listen", file("a.wav")}).err, HasSubstr("no server"));
}

TEST_F(Listen, IsRefusedToTheSeventeenth) {
    serve();
    std::vector<std::unique_ptr<ControlClient>> others;
    for (int i = 0; i < 16; ++i) {
        others.push_back(std::make_unique<ControlClient>());
        EXPECT_THAT(others.back()->ask("listen - -\n"), HasSubstr("rate_hz"));
    }
    EXPECT_THAT(runExpecting(1, {"listen", file("a.wav")}).err,
                HasSubstr("there are 16 listeners already"));
    others.pop_back();
    waitForListeners(15);
    EXPECT_THAT(ControlClient().ask("listen - -\n"), HasSubstr("rate_hz"));
}

TEST_F(Listen, StoresLostFramesAsSilenceAndTellsTheirNumber) {
    const auto listening = listenAt(CONTROL_SOCKET);
    ToolProcess tool({"listen", file("a.wav"), "--json"});
    const server::UniqueFd connection = acceptCommand(listening.get());
    ASSERT_TRUE(connection);
    const std::string answer = R"({"rate_hz":48000,"channels":1,"format":"s16"})"
                               "\n";
    const auto say = [&](const auto& bytes, std::size_t size) {
        ASSERT_EQ(send(connection.get(), bytes, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
    };
    const auto sayRecord = [&](TapRecord kind, std::uint32_t count) {
        const TapHeader header = {kind, count};
        say(&header, sizeof header);
    };
    const std::int16_t samples[] = {1000, -2000};
    say(answer.data(), answer.size());
    sayRecord(TapRecord::Samples, sizeof samples);
    say(samples, sizeof samples);
    sayRecord(TapRecord::Lost, 5000);
    sayRecord(TapRecord::Samples, sizeof samples);
    say(samples, sizeof samples);
    sayRecord(TapRecord::StreamEnded, 0);
    const Outcome outcome = tool.finishExpecting(0);
    EXPECT_THAT(outcome.err, EndsWith("5000 frames did not fit into the server's buffer and are "
                                      "silent\n"));
    EXPECT_EQ(jsonOf(outcome).at("lost_frames"), 5000);
    const auto sound = soundOf("a.wav");
    ASSERT_EQ(sound.size(), 5004U);
    EXPECT_EQ(sound[1], -2000 * 65536);
    EXPECT_EQ(sound[2], 0);
    EXPECT_EQ(sound[5001], 0);
    EXPECT_EQ(sound[5002], 1000 * 65536);
}

}  // namespace cabinaudio::test
