// SPDX-License-Identifier: Apache-2.0
//
// The server as a program: its start and end, its commands, its trace.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/RawRecorder.h"
#include "tests/server/ServerRun.h"
#include "tests/server/Sound.h"
#include "tests/support/BrokenOutput.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace cabinaudio::test {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

std::vector<std::string> objectsOfThisInstance() {
    const std::string instance = std::getenv("CABINAUDIO_INSTANCE");
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
        const std::string name = entry.path().filename();
        const bool isRing = name.rfind("cabinaudio." + instance + ".", 0) == 0;
        const std::string memory = "cabinaudio-physmem-";
        const bool isMemory = name.rfind(memory, 0) == 0 && name.size() > instance.size() &&
                              name.substr(name.size() - instance.size() - 1) == "-" + instance;
        if (isRing || isMemory) names.push_back(name);
    }
    return names;
}

int exitStatus(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
}

/// Whether the server was built with ALSA.
bool hasAlsa() {
    return refusal(1, "--output alsa:no_such_device").find("built without") == std::string::npos;
}

class EndingServer : public ::testing::TestWithParam<int> {};

TEST_P(EndingServer, NotifiesStreamsCompletesFilesAndLeavesNoObjects) {
    RecordingServer recording;
    RawClient physical(AUDIO_CONNECT_AUXILIARY, "physical");
    RawClient posix(AUDIO_CONNECT_ALTERNATIVE, "posix");
    ASSERT_EQ(physical.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    ASSERT_EQ(posix.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(physical.notification().event, 3U);
    ASSERT_EQ(posix.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    ASSERT_TRUE(
        eventually([&] { return stateOf(recording.server()).at("output").at("periods") >= 3; }));
    EXPECT_EQ(objectsOfThisInstance().size(), 3U) << "two headers and the memory";

    EXPECT_TRUE(recording.stop(GetParam()));
    EXPECT_EQ(physical.notification().event, 255U);
    EXPECT_EQ(posix.notification().event, 255U);
    EXPECT_TRUE(physical.isClosedByServer());
    EXPECT_EQ(objectsOfThisInstance(), std::vector<std::string>());
    EXPECT_EQ(recording.wav().frames() % 768, 0U);
    EXPECT_GE(recording.wav().frames(), 3 * 768U);
    EXPECT_EQ(recording.report().at("output").at("frames"), recording.wav().frames());
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingServer, ::testing::Values(SIGTERM, SIGINT));

TEST(EndingServer, RemovesTheTracksOfTheLibrary) {
    RealServer server;
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.hasRing());
    EXPECT_EQ(exitStatus(server.stop()), 0);
    EXPECT_TRUE(eventually([&] { return player.track().start() == AUDIO_INVALID_STATE; }));
}

TEST(SecondServer, OfTheSameInstanceIsRefused) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(2 * 768);
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.write(samples));
    EXPECT_EQ(refusal(1, "--output wav:" + recording.directory().file("heard.wav")),
              "cabinaudio-server: there is a server of instance \"" +
                  std::string(std::getenv("CABINAUDIO_INSTANCE")) + "\" already\n");
    ASSERT_TRUE(player.end());
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
}

TEST(SecondServer, OfAnotherInstanceRunsInParallel) {
    const RealServer one;
    const RealServer other({"--output", "null", "--instance", "other" + std::to_string(getpid())});
    EXPECT_THAT(one.command("state"), HasSubstr("\"version\":\"2.24.25\""));
}

TEST(ServerAfterAKilledOne, IgnoresLeftovers) {
    {
        RealServer killed;
        RawClient client(AUDIO_CONNECT_AUXILIARY, "left");
        ASSERT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
        killed.kill(SIGKILL);
        EXPECT_TRUE(client.isClosedByServer());
        EXPECT_TRUE(WIFSIGNALED(killed.stop()));
    }
    {
        RecordingServer recording({"--fast"});
        Player player("left", AUDIO_TAG_AUXILIARY, pcm(48000, 1, 16));
        const auto samples = noise16(768);
        ASSERT_TRUE(player.write(samples) && player.end());
        ASSERT_TRUE(recording.stop());
        EXPECT_TRUE(recording.heard("left", wide(repeated(samples, 2))));
    }
    EXPECT_EQ(objectsOfThisInstance(), std::vector<std::string>());
}

TEST(ManyClients, AreServedAtOnce) {
    constexpr std::size_t COUNT = 50;
    RecordingServer recording({"--fast", "--format", "float"});
    std::vector<std::thread> threads;
    std::atomic<std::size_t> done{0};
    for (std::size_t i = 0; i < COUNT; ++i) {
        threads.emplace_back([&done, i] {
            const auto tag = i % 2 == 0 ? AUDIO_TAG_AUXILIARY : AUDIO_TAG_ALTERNATIVE;
            Player player("client" + std::to_string(i), tag, pcm(48000, 1, 16));
            if (player.write(noise16(5000, static_cast<std::uint32_t>(i))) && player.end()) ++done;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(done, COUNT);
    ASSERT_TRUE(recording.stop());
    EXPECT_EQ(recording.report().at("streams").size(), COUNT);
    for (const auto& stream : recording.report().at("streams"))
        EXPECT_EQ(stream.at("frames"), 5000) << stream;
    EXPECT_EQ(objectsOfThisInstance(), std::vector<std::string>());
}

TEST(RemovedStream, IsGoneAndItsClientNotified) {
    const RealServer server;
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.hasRing());
    EXPECT_EQ(server.command("stream remove noise"), "error: no stream \"noise\"");
    EXPECT_EQ(server.command("stream remove music"), "ok");
    EXPECT_TRUE(eventually([&] { return player.track().start() == AUDIO_INVALID_STATE; }));
    const auto state = stateOf(server);
    EXPECT_TRUE(state.at("streams").empty());
    EXPECT_EQ(state.at("clients").size(), 1U) << "the connection stays";
    EXPECT_EQ(server.command("stream remove music"), "error: no stream \"music\"");
}

TEST(State, ShowsOutputClientsAndStreams) {
    const RealServer server({"--output", "null", "--rate", "44100", "--channels", "1"});
    RawClient client(AUDIO_CONNECT_AUXILIARY, "voice \"x\"\t");
    ASSERT_EQ(client.create(2, pcm(16000, 1, 16)).status, AUDIO_NO_ERROR);
    client.notification();
    const auto state = stateOf(server);
    EXPECT_EQ(state.at("output").at("name"), "nothing");
    EXPECT_EQ(state.at("output").at("rate_hz"), 44100);
    EXPECT_EQ(state.at("output").at("channels"), 1);
    EXPECT_EQ(state.at("output").at("format"), "s16");
    ASSERT_EQ(state.at("clients").size(), 1U);
    EXPECT_EQ(state.at("clients")[0].at("handle"), client.handle());
    EXPECT_EQ(state.at("clients")[0].at("type"), 2);
    EXPECT_EQ(state.at("clients")[0].at("type_name"), "auxiliary");
    EXPECT_EQ(state.at("clients")[0].at("name"), "voice \"x\"\t");
    ASSERT_EQ(state.at("streams").size(), 1U);
    const auto& stream = state.at("streams")[0];
    EXPECT_EQ(stream.at("tag"), "auxiliary");
    EXPECT_EQ(stream.at("state"), "idle");
    EXPECT_EQ(stream.at("rate_hz"), 16000);
    EXPECT_EQ(stream.at("bits"), 16);
    EXPECT_EQ(stream.at("process"), getpid());
    EXPECT_EQ(stream.at("ring_bytes"), 8 * 256 * 2);
    EXPECT_EQ(stream.at("queued_ms"), 0);
}

TEST(ControlSocket, RefusesUnknownCommands) {
    const RealServer server;
    EXPECT_EQ(server.command("sing"), "error: no such command: sing");
    EXPECT_EQ(server.command(""), "error: no such command: ");
    EXPECT_EQ(server.command("stream"), "error: no such command: stream");
    EXPECT_EQ(server.command("stream remove"), "error: no stream \"\"");
    EXPECT_THROW(static_cast<void>(server.command(std::string(100000, 'x'))), std::runtime_error);
    EXPECT_THAT(server.command("state"), HasSubstr("\"streams\":[]"));
}

TEST(Trace, ShowsRequestsRepliesAndNotificationsInWords) {
    RealServer server({"--output", "null", "--trace", "--fast"});
    {
        RawClient client(AUDIO_CONNECT_AUXILIARY, "voice");
        ASSERT_EQ(client.create(2, pcm(16000, 1, 16)).status, AUDIO_NO_ERROR);
        client.notification();
        client.ask<wire::ShareMemoryReply>(wire::StreamFunction::GetShareMemory);
        client.status(wire::StreamFunction::WriteDone);
        client.status(wire::StreamFunction::Start);
        client.status(wire::StreamFunction::WriteDone);
        client.notification();
        client.call<wire::StatusReply>(wire::FunctionRequest{99});
    }
    RawClient version(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    version.call(bytesOf(wire::FunctionRequest{0}), 32);
    EXPECT_EQ(exitStatus(server.stop()), 0);
    const std::string trace = server.output();
    const std::string who = "#1 auxiliary \"voice\" ";
    EXPECT_THAT(trace, HasSubstr(who + "registered\n"));
    EXPECT_THAT(trace, ContainsRegex(who + "create\\(tag 2, 16000 Hz, channel map 1, 16 bits, "
                                           "parameter 0, process [0-9]+\\) -> ok, ring 4096 bytes, "
                                           "per loop 512 bytes \\[[0-9]+ us\\]\n"));
    EXPECT_THAT(trace, HasSubstr(who + "<- ring ready\n"));
    EXPECT_THAT(trace, ContainsRegex(who + "getShareMemory\\(\\) -> ok, address 0x40000000, "
                                           "4096 bytes \\[[0-9]+ us\\]\n"));
    EXPECT_THAT(trace, ContainsRegex(who + "writeDone\\(\\) -> invalid state \\[[0-9]+ us\\]\n"));
    EXPECT_THAT(trace, ContainsRegex(who + "start\\(\\) -> ok \\[[0-9]+ us\\]\n"));
    EXPECT_THAT(trace, HasSubstr(who + "<- finished\n"));
    EXPECT_THAT(trace, HasSubstr(who + "function 99 -> invalid operation\n"));
    EXPECT_THAT(trace, HasSubstr(who + "disconnected\n"));
    EXPECT_THAT(trace, ContainsRegex("#2 version \"unkn\" getServerVersions\\(\\) -> ok, 2.24.25, "
                                     "0.0.0, 0 \\[[0-9]+ us\\]\n"));
}

TEST(Trace, ShowsRequestsAndNotificationsOfSinksAndUplinks) {
    RealServer server({"--output", "null", "--trace", "--fast"});
    {
        RawClient sink(AUDIO_CONNECT_MAIN, "music");
        ASSERT_EQ(sink.create(0, pcm(16000, 1, 16)).status, AUDIO_NO_ERROR);
        ASSERT_EQ(sink.notification().event, 3U);
        ASSERT_EQ(server.command("source withdraw music"), "ok");
        ASSERT_EQ(sink.notification().event, 4U);
        sink.status(wire::StreamFunction::SourceDeactivated);
        sink.status(wire::StreamFunction::Start);
        sink.status(wire::StreamFunction::WriteDone);
        ASSERT_EQ(sink.notification().event, 5U);

        RawRecorder uplink("call", AUDIO_TAG_UPLINK, pcm(16000, 1, 16));
        ASSERT_EQ(uplink.start(), AUDIO_NO_ERROR);
        ASSERT_TRUE(uplink.mapWhenReady());
        ASSERT_EQ(server.command("uplink ring off"), "ok");
        ASSERT_EQ(uplink.client().notification().param, 0U);
        uplink.acknowledgeWithdrawal();

        RawRecorder input("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
        ASSERT_EQ(input.setVolume(70), AUDIO_NO_ERROR);
        ASSERT_EQ(input.volume().volume, 70);
    }
    EXPECT_EQ(exitStatus(server.stop()), 0);
    const std::string trace = server.output();
    for (const char* line :
         {"main \"music\" <- source activated\n", "main \"music\" <- source deactivated\n",
          "main \"music\" sourceDeactivated() -> ok [", "main \"music\" <- finished\n",
          "uplink \"call\" <- ring ready\n", "uplink \"call\" getShareMemory() -> ok, address 0x",
          "uplink \"call\" <- ring gone\n", "uplink \"call\" removeShareMemory() -> ok [",
          " -> ok, ring 4096 bytes, per loop 512 bytes, 16 ms, 256 frames [",
          "input0 \"voice\" setVolume(70) -> ok [", "input0 \"voice\" getVolume() -> ok, 70 ["}) {
        EXPECT_THAT(trace, HasSubstr(line));
    }
}

TEST(CommandLine, FailsWhenHelpAndVersionCannotBePrinted) {
    for (const char* option : {"--help", "--version"}) {
        Process server({.words = {RealServer::path(), option}, .inChild = printToFullDisk});
        EXPECT_THAT(server.finishExpecting(1).err,
                    HasSubstr("cannot write to standard output: No space left on device\n"));
    }
}

TEST(Trace, FailsTheServerAtItsEndWhenItCannotBePrinted) {
    const auto breakOutput = [] {
        printToFullDisk();
        dup2(STDERR_FILENO, 9);
    };
    Process server({.words = {RealServer::path(), "--output", "null", "--trace", "--ready-fd", "9"},
                    .inChild = breakOutput});
    ASSERT_TRUE(server.waitForErr("ready"));
    { const RawClient version(AUDIO_CONNECT_VERSION_SETTING, "unkn"); }
    server.send(SIGTERM);
    EXPECT_THAT(server.finishExpecting(1).err,
                HasSubstr("cannot write to standard output: No space left on device\n"));
}

TEST(CommandLine, VersionListsTheCompilerAndTheLibraries) {
    const std::string version = runServer(0, "--version").out;
    EXPECT_THAT(version, ContainsRegex("^cabinaudio-server 2\\.24\\.25\ncompiler  "));
    for (const char* library :
         {"libsndfile", "libsamplerate", "fftw", "libopus", "CLI11", "nlohmann-json"})
        EXPECT_THAT(version, ContainsRegex(std::string("\n") + library + " +[0-9]+\\.[0-9]"));
    for (const char* optional : {"ALSA", "PulseAudio", "libavcodec"})
        EXPECT_THAT(version,
                    ContainsRegex(std::string("\n") + optional + " +([0-9]+\\.|left out)"));
    EXPECT_EQ(runServer(0, "-V").out, version);
}

TEST(CommandLine, MakesTheDirectoryOfTheStems) {
    const TemporaryDirectory directory;
    const std::string stems = directory.file("a") + "/b/c";
    RealServer server({"--output", "null", "--stems", stems});
    EXPECT_TRUE(std::filesystem::is_directory(stems));
}

TEST(CommandLine, NamesTheReasonWhyThereIsNoDirectoryForStems) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("file");
    std::ofstream(file) << "text";
    EXPECT_THAT(runServer(1, "--output null --stems " + file).err,
                HasSubstr("--stems " + file + ": Not a directory\n"));
    EXPECT_THAT(runServer(1, "--output null --stems " + file + "/below").err,
                HasSubstr("--stems " + file + "/below: Not a directory\n"));
    EXPECT_THAT(runServer(1, "--output null --stems /proc/stems").err,
                HasSubstr("--stems /proc/stems: No such file or directory\n"));
}

TEST(CommandLine, IsExplainedAndChecked) {
    const std::string help = runServer(0, "--help").out;
    for (const char* option :
         {"--output", "--fast", "--input", "--uplink-delay", "--stems", "--report", "--trace"}) {
        EXPECT_THAT(help, HasSubstr(option));
    }
    for (const char* wrong : {"--output tape",
                              "--output wav:",
                              "--output null:x",
                              "--rate 7999",
                              "--channels 0",
                              "--format s17",
                              "--ring-periods 1",
                              "--ring-delay -1",
                              "--instance a.b",
                              "--fast",
                              "--fast --output alsa",
                              "--input tone:",
                              "--input tone:0.5",
                              "--input tone:440Hz",
                              "--input input0=",
                              "--uplink-delay -1",
                              "--uplink-delay 60001",
                              "--uplink-delay soon",
                              "--input silence silence",
                              "--nothing",
                              "word"}) {
        EXPECT_THAT(refusal(2, wrong), AllOf(testing::StartsWith("cabinaudio-server: "),
                                             testing::EndsWith("(try --help)\n")));
    }
}

TEST(Server, EndsWithOneLineWhenItsOutputFails) {
    for (const char* output : {"wav:/no/such/directory/x.wav", "alsa:no_such_device"})
        refusal(1, std::string("--output ") + output);
}

TEST(Server, EndsWithOneLineWhenAnInputFails) {
    for (const auto& [input, words] : {std::pair("/no/such/file.wav", "/no/such/file.wav: "),
                                       {"uplink=/dev/null", "/dev/null: "}}) {
        EXPECT_THAT(refusal(1, std::string("--output null --input ") + input),
                    testing::StartsWith(std::string("cabinaudio-server: ") + words));
    }
}

TEST(StalledServer, AnswersAfterItsStallTime) {
    const RealServer server;
    RawClient client(AUDIO_CONNECT_AUXILIARY, "track");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(server.command("stall 300"), "ok");
    EXPECT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(290));
    for (const char* wrong : {"stall", "stall 0", "stall 60001", "stall 5s", "stall x"})
        EXPECT_EQ(server.command(wrong), "error: stall MS, 1 to 60000") << wrong;
}

TEST(CrashCommand, KillsTheServer) {
    RealServer server;
    RawClient client(AUDIO_CONNECT_AUXILIARY, "track");
    ASSERT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(server.command("crash now"), "error: crash takes no argument");
    EXPECT_EQ(server.command("crash"), "ok");
    EXPECT_TRUE(client.isClosedByServer()) << "without a word";
    const int status = server.wait();
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    const RealServer another;
}

TEST(QuietServer, PrintsNothingOnSuccess) {
    RealServer server({"--output", "null", "--quiet"});
    {
        Player player("music", AUDIO_TAG_ALTERNATIVE, pcm(48000, 2, 16));
        EXPECT_TRUE(player.write(noise16(100)) && player.end());
    }
    EXPECT_EQ(exitStatus(server.stop()), 0);
    EXPECT_EQ(server.output(), "");
}

TEST(VerboseServer, ShowsTheLogOfTheLibrary) {
    RealServer server({"--output", "null", "--verbose"});
    { Player player("music", AUDIO_TAG_ALTERNATIVE, pcm(48000, 2, 16)); }
    EXPECT_EQ(exitStatus(server.stop()), 0);
    EXPECT_THAT(server.output(), HasSubstr("shared memory mmap success"));
}

/// No sound server, and ALSA's null device as the default one.
class MachineWithoutSound : public ::testing::Test {
protected:
    MachineWithoutSound() {
        std::ofstream(mDirectory.file("asound.conf")) << "pcm.!default { type null }\n";
        setenv("ALSA_CONFIG_PATH", mDirectory.file("asound.conf").c_str(), 1);
        setenv("PULSE_SERVER", mDirectory.file("no-socket").c_str(), 1);
    }
    ~MachineWithoutSound() override {
        unsetenv("ALSA_CONFIG_PATH");
        unsetenv("PULSE_SERVER");
    }

    TemporaryDirectory mDirectory;
};

TEST_F(MachineWithoutSound, RecordsSilenceFromTheNullDevice) {
    if (!hasAlsa()) GTEST_SKIP() << "the server has no ALSA";
    RealServer server({"--output", "null", "--input", "mic"});
    {
        RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
        ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
        EXPECT_THAT(recorder.readSamples(2000), testing::Each(0));
        EXPECT_EQ(streamOf(server, "voice").at("input"), "mic");
    }
    EXPECT_EQ(exitStatus(server.stop()), 0);
}

TEST_F(MachineWithoutSound, RefusesTheMicrophoneInput) {
    std::ofstream(mDirectory.file("asound.conf")) << "# nothing\n";
    EXPECT_THAT(refusal(1, "--output null --input mic"),
                testing::StartsWith("cabinaudio-server: no microphone works: pulse: "));
}

TEST(SoundCardOutput, PlaysThroughAlsa) {
    if (!hasAlsa()) GTEST_SKIP() << "the server has no ALSA";
    // ALSA's own null device: the whole way but the card.
    RealServer server({"--output", "alsa:null"});
    {
        Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
        ASSERT_TRUE(player.write(noise16(2 * 4800)));
        EXPECT_TRUE(player.end());
    }
    const auto state = stateOf(server);
    EXPECT_EQ(state.at("output").at("name"), "alsa device null");
    EXPECT_EQ(state.at("output").at("errors"), 0);
    EXPECT_GE(state.at("output").at("frames"), 4800);
    EXPECT_EQ(exitStatus(server.stop()), 0);
}

}  // namespace
}  // namespace cabinaudio::test
