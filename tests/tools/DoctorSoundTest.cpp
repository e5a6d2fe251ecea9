// SPDX-License-Identifier: Apache-2.0
//
// The doctor follows the sound: programs play through a real server, something takes their level,
// and the doctor says where it is lost.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/support/LocalSocket.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"
#include "tests/tools/ToolTest.h"
#include "wire/Settings.h"

#include <sndfile.h>
#include <sys/socket.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {

namespace {

using namespace std::chrono_literals;

constexpr int RATE = 48000;
constexpr sf_count_t LONG = 30 * RATE;  // frames: longer than any test plays

/// A constant has its peak everywhere.
void writeConstant(const std::string& path, double left, double right) {
    SF_INFO info = {};
    info.samplerate = RATE;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
    std::vector<double> samples;
    for (int i = 0; i < RATE; ++i)
        samples.insert(samples.end(), {left, right});
    for (sf_count_t frames = 0; frames < LONG; frames += RATE)
        sf_writef_double(file, samples.data(), RATE);
    sf_close(file);
}

json checkNamed(const json& checks, const std::string& name) {
    for (const json& check : checks)
        if (check["name"] == name) return check;
    return nullptr;
}

json checkOfStream(const json& checks, const std::string& name) {
    for (const json& check : checks)
        if (check.value("stream", "") == name) return check;
    return nullptr;
}

json examined(const Words& more = {}) {
    return jsonOf(runTool(with({"doctor", "--json"}, more)));
}

class DoctorOfSound : public ToolTest {
protected:
    void SetUp() override {
        serve();
        writeConstant(file("sound.wav"), 0.5, 0.5);
    }

    void set(const Words& assignments) const {
        if (!assignments.empty()) runExpecting(0, with({"set"}, assignments));
    }

    /// Starts to play and waits until the mix has the sound.
    void play(const std::string& tag, const std::string& name,
              const std::string& sound = "sound.wav") {
        mPlayers.push_back(std::make_unique<ToolProcess>(
            Words{"play", file(sound), "--tag", tag, "--name", name}));
        ASSERT_TRUE(eventually([&] { return streamOf(name).value("frames", 0) > 0; }));
    }

    [[nodiscard]] json streamOf(const std::string& name) const {
        const json state = json::parse(mServer->command("state"));
        for (const json& stream : state.at("streams"))
            if (stream.at("name") == name) return stream;
        return json::object();
    }

    std::vector<std::unique_ptr<ToolProcess>> mPlayers;
};

}  // namespace

TEST_F(DoctorOfSound, HasNothingToSayOfAServerWithoutStreams) {
    const json checks = examined();
    for (const char* name : {"server_user", "output", "output_errors", "mutes", "volumes",
                             "sources", "rings", "rates", "streams"}) {
        const json check = checkNamed(checks, name);
        EXPECT_EQ(check["level"], "ok") << name << ": " << check;
        EXPECT_TRUE(check["cure"].is_null()) << check;
    }
    EXPECT_EQ(checkNamed(checks, "mutes")["value"], json::array());
    EXPECT_EQ(checkNamed(checks, "volumes")["value"], json::array());
    EXPECT_EQ(checkNamed(checks, "rates")["rate_hz"], RATE);
    EXPECT_EQ(checkNamed(checks, "output")["output"], "nothing");
    EXPECT_EQ(checkNamed(checks, "streams")["value"], 0);
}

TEST_F(DoctorOfSound, NamesTheInstanceOfTheCommandLineInItsCures) {
    set({"mute.main=on"});
    const std::string instance = std::getenv("CABINAUDIO_INSTANCE");
    EXPECT_EQ(checkNamed(examined({"--instance", instance}), "mutes")["cure"],
              "cabinaudio set --instance " + instance + " mute.main=off");
}

TEST_F(DoctorOfSound, PrintsALineForEachStreamAndFailsWhenOneIsNotHeard) {
    set({"volume.track.auxiliary.a=-103.5dB"});
    play("auxiliary", "a");
    const Outcome outcome = runExpecting(1, {"doctor"});
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(linesOf(outcome.out),
                testing::IsSupersetOf(
                    {"ok    streams          one is running",
                     "warn  volumes          volume.track.auxiliary.a=-103.5dB -> cabinaudio set "
                     "volume.track.auxiliary.a=0dB",
                     "FAIL  stream           a: stream silent, type 0 dB: not heard -> cabinaudio "
                     "set volume.track.auxiliary.a=0dB"}));
}

// ---- The table of situations --------------------------------------------------------------------

namespace {

struct Situation : Row {
    std::string tag;
    Words settings;
    std::string line;
    std::string level;
    std::string value;
    std::string cure = {};
    std::string sound = "sound.wav";
};

void PrintTo(const Situation& situation, std::ostream* out) {
    *out << situation.line;
}

class SoundOf : public DoctorOfSound, public testing::WithParamInterface<Situation> {};

}  // namespace

TEST_P(SoundOf, OneStreamIsFollowedToTheLoudspeakers) {
    const Situation& situation = GetParam();
    if (situation.sound != "sound.wav")
        writeConstant(file(situation.sound), situation.sound == "left.wav" ? 0.5 : 0.0, 0.0);
    set(situation.settings);
    play(situation.tag, "a", situation.sound);
    Outcome outcome;
    json check;
    // A player that gets no time for a while lets its ring run empty.
    EXPECT_TRUE(eventually([&] {
        outcome = runTool({"doctor", "--json"});
        check = checkOfStream(jsonOf(outcome), "a");
        return check["detail"] == situation.line;
    })) << check;
    EXPECT_EQ(outcome.exitCode, situation.level == "failed" ? 1 : 0) << outcome.text();
    EXPECT_EQ(check["level"], situation.level);
    EXPECT_EQ(check["ok"], situation.level != "failed");
    EXPECT_EQ(check["value"], situation.value);
    if (situation.cure.empty()) {
        EXPECT_TRUE(check["cure"].is_null()) << check;
        return;
    }
    EXPECT_EQ(check["cure"], situation.cure);
}

namespace {

const Situation SITUATIONS[] = {
    {{"no_loss"}, "auxiliary", {}, "a: stream 0 dB, type 0 dB: heard with -6 dB", "ok", "heard"},
    {{"some_loss"},
     "auxiliary",
     {"volume.master=-12dB", "volume.type.system=-3.5dB"},
     "a: stream 0 dB, type -3.5 dB, master -12 dB: heard with -21.5 dB",
     "ok",
     "heard"},
    {{"silent_master"},
     "auxiliary",
     {"volume.master=-103.5dB"},
     "a: stream 0 dB, type 0 dB, master silent: not heard",
     "failed",
     "not_heard",
     "cabinaudio set volume.master=0dB"},
    {{"muted_path"},
     "main",
     {"mute.main=on"},
     "a: stream 0 dB, type 0 dB, path main muted: not heard",
     "failed",
     "not_heard",
     "cabinaudio set mute.main=off"},
    {{"silent_stream"},
     "auxiliary",
     {"volume.track.auxiliary.a=-103.5dB"},
     "a: stream silent, type 0 dB: not heard",
     "failed",
     "not_heard",
     "cabinaudio set volume.track.auxiliary.a=0dB"},
    {{"soft_stream"},
     "auxiliary",
     {"volume.track.auxiliary.a=-45dB"},
     "a: stream -45 dB, type 0 dB: hardly heard, -51 dB",
     "warning",
     "hardly_heard",
     "cabinaudio set volume.track.auxiliary.a=0dB"},
    {{"soft_alternative"},
     "alternative",
     {"volume.alternative=-60dB"},
     "a: stream 0 dB, type 0 dB, alternative -60 dB: hardly heard, -66 dB",
     "warning",
     "hardly_heard",
     "cabinaudio set volume.alternative=0dB"},
    {{"mixer_off"},
     "alternative",
     {"volume.track.alternative.a=-12dB", "mixer.navigation.mode=0", "speaker.output=none"},
     "a: stream -12 dB, type 0 dB, mixer off, loudspeakers muted: not heard",
     "failed",
     "not_heard",
     "cabinaudio set mixer.navigation.mode=1 speaker.output=LF+RF+LS+RS+CF+L1"},
    {{"ducked"},
     "main",
     {"duck=100%"},
     "a: stream 0 dB, type 0 dB, ducking silent by duck 100 %: not heard",
     "failed",
     "not_heard",
     "cabinaudio set duck=off"},
    {{"faded"},
     "main",
     {"fade=-100"},
     "a: stream 0 dB, type 0 dB, fade and balance silent: not heard",
     "failed",
     "not_heard",
     "cabinaudio set fade=0 balance=0"},
    {{"balanced"},
     "main",
     {"balance=100"},
     "a: stream 0 dB, type 0 dB: its channels lead to silent loudspeakers: not heard",
     "failed",
     "not_heard",
     "cabinaudio set fade=0 balance=0 speaker.output=LF+RF+LS+RS+CF+L1",
     "left.wav"},
    {{"silence"},
     "auxiliary",
     {},
     "a: stream 0 dB, type 0 dB: the program writes silence",
     "warning",
     "silence_written",
     "look at the program's own volume and mute",
     "silence.wav"},
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Doctor, SoundOf, testing::ValuesIn(SITUATIONS), ROW_NAME);

TEST_F(DoctorOfSound, NamesThePromptThatDucks) {
    set({"ducking.mode=1", "ducking.target=-103.5dB"});
    play("main", "radio");
    play("alternative", "turn left");
    json checks;
    json radio;
    // Only while the prompt has data.
    EXPECT_TRUE(eventually([&] {
        checks = examined();
        radio = checkOfStream(checks, "radio");
        return radio["detail"] ==
               "radio: stream 0 dB, type 0 dB, ducking silent by turn left: not heard";
    })) << radio;
    EXPECT_EQ(radio["lost_at"], "ducking");
    EXPECT_EQ(radio["cure"], "cabinaudio set ducking.target=0dB");
    EXPECT_EQ(checkOfStream(checks, "turn left")["level"], "ok");
    EXPECT_EQ(checkNamed(checks, "streams")["value"], 2);
}

TEST_F(DoctorOfSound, NamesTheSinkThatWaitsForItsSource) {
    play("main", "radio");
    play("main", "it's me");
    ASSERT_TRUE(eventually([&] { return streamOf("radio").at("ring_bytes") == 0; }));
    const json checks = examined();
    const json sources = checkNamed(checks, "sources");
    EXPECT_EQ(sources["level"], "warning");
    EXPECT_EQ(sources["value"], json::array({"radio"}));
    EXPECT_EQ(sources["detail"], "radio waits for the source, which it's me has");
    const json radio = checkOfStream(checks, "radio");
    EXPECT_EQ(radio["detail"], "radio: stream 0 dB, type 0 dB, waits for its source: not heard");
    EXPECT_EQ(radio["level"], "failed");
    EXPECT_EQ(radio["cure"], "cabinaudio server source activate radio");
    EXPECT_EQ(mServer->command("source activate radio"), "ok");
    ASSERT_TRUE(eventually([&] { return !streamOf("radio").at("heard_db").is_null(); }));
    EXPECT_EQ(checkNamed(examined(), "sources")["cure"],
              "cabinaudio server source activate 'it'\\''s me'");
}

TEST_F(DoctorOfSound, NamesTheProgramThatLeavesItsRingFull) {
    const ToolProcess recorder({"record", file("voice.wav"), "--tag", "input0", "--name", "voice"});
    ASSERT_TRUE(eventually([&] { return streamOf("voice").value("frames", 0) > 0; }));
    EXPECT_EQ(checkNamed(examined(), "rings")["level"], "ok");
    const auto process = streamOf("voice").at("process").get<pid_t>();
    kill(process, SIGSTOP);
    ASSERT_TRUE(eventually([&] { return streamOf("voice").value("overruns", 0) > 0; }));
    const json rings = checkNamed(examined(), "rings");
    kill(process, SIGCONT);
    EXPECT_EQ(rings["level"], "warning");
    EXPECT_EQ(rings["value"], json::array({"voice"}));
    EXPECT_THAT(rings["detail"].get<std::string>(),
                testing::ContainsRegex("^voice \\(program .*, process " + std::to_string(process) +
                                       "\\) does not read: [1-9][0-9]* overruns$"));
}

TEST_F(DoctorOfSound, SaysThatAStreamIsConverted) {
    set({"volume.type.system=-50dB", "mute.second=on"});
    writeSound(file("slow.wav"), {.rate = 8000, .frames = 80000});
    play("auxiliary", "slow", "slow.wav");
    const json checks = examined();
    const json rates = checkNamed(checks, "rates");
    EXPECT_EQ(rates["level"], "ok");
    EXPECT_EQ(rates["value"], json::array({"slow"}));
    EXPECT_EQ(rates["detail"], "the output has 48000 Hz, slow with 8000 Hz is converted");
    const json volumes = checkNamed(checks, "volumes");
    EXPECT_EQ(volumes["level"], "warning");
    EXPECT_EQ(volumes["value"], json::array({"volume.type.system"}));
    EXPECT_EQ(volumes["cure"], "cabinaudio set volume.type.system=0dB");
    const json mutes = checkNamed(checks, "mutes");
    EXPECT_EQ(mutes["level"], "warning");
    EXPECT_EQ(mutes["detail"], "mute.second=on");
    EXPECT_EQ(mutes["cure"], "cabinaudio set mute.second=off");
}

// ---- Other servers ------------------------------------------------------------------------------

namespace {

/// A control socket that answers every line with one state.
class StateServer {
public:
    explicit StateServer(const json& output, const json& streams = json::array())
        : mAnswer(json{{"output", output}, {"streams", streams}}.dump() + "\n"),
          mListener(listenAt(CONTROL_SOCKET)),
          mThread([this] { serve(); }) {
        mServer.on(AUDIO_CONNECT_VERSION_SETTING,
                   static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions),
                   Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    }
    ~StateServer() {
        shutdown(mListener.get(), SHUT_RDWR);
        mThread.join();
    }
    StateServer(const StateServer&) = delete;
    StateServer& operator=(const StateServer&) = delete;

private:
    void serve() {
        while (true) {
            const server::UniqueFd connection(accept(mListener.get(), nullptr, nullptr));
            if (connection.get() < 0) return;
            std::array<char, 100> line;
            if (recv(connection.get(), line.data(), line.size(), 0) > 0)
                (void)!send(connection.get(), mAnswer.data(), mAnswer.size(), MSG_NOSIGNAL);
        }
    }

    ScriptedServer mServer;  // of the library
    std::string mAnswer;
    server::UniqueFd mListener;
    std::thread mThread;
};

const json OPEN_OUTPUT = {{"name", "pulse"}, {"rate_hz", 48000},   {"state", "open"},
                          {"errors", 3},     {"recent_errors", 0}, {"losses", 1}};

json changed(json output, const json& changes) {
    output.update(changes);
    return output;
}

json examinedQuickly() {
    return examined({"--timeout", "0.5"});
}

}  // namespace

TEST(DoctorOfOutput, PassesWhenItIsOpen) {
    const StateServer server(OPEN_OUTPUT);
    const json checks = examinedQuickly();
    EXPECT_EQ(checkNamed(checks, "output")["level"], "ok");
    EXPECT_EQ(checkNamed(checks, "output")["value"], "open");
    EXPECT_EQ(checkNamed(checks, "output")["losses"], 1);
    EXPECT_EQ(checkNamed(checks, "output_errors")["value"], 0);
    EXPECT_EQ(checkNamed(checks, "output_errors")["detail"],
              "0 in the last minute, 3 since the start");
}

TEST(DoctorOfOutput, FailsWhenItIsLost) {
    const json lost = {{"state", "lost"},
                       {"since", "2026-11-22T19:01:02.345+00:00"},
                       {"problem", "pulse: Connection refused"}};
    const json stream = {{"name", "radio"},
                         {"state", "active"},
                         {"underruns", 0},
                         {"peak_db", -6.0},
                         {"heard_db", -6.0},
                         {"gains", json::array({{{"stage", "track"},
                                                 {"setting", "volume.track.main.radio"},
                                                 {"db", 0.0},
                                                 {"muted", false},
                                                 {"by", nullptr}}})}};
    const StateServer server(changed(OPEN_OUTPUT, lost), json::array({stream}));
    const json checks = examinedQuickly();
    EXPECT_EQ(checkNamed(checks, "output")["level"], "failed");
    EXPECT_EQ(checkNamed(checks, "output")["detail"],
              "pulse is lost since 2026-11-22T19:01:02.345+00:00: pulse: Connection refused; "
              "nothing is heard");
    EXPECT_EQ(checkOfStream(checks, "radio")["detail"],
              "radio: stream 0 dB, output lost: not heard");
    EXPECT_EQ(checkOfStream(checks, "radio")["level"], "failed");
}

TEST(DoctorOfOutput, WarnsOfErrorsAndOfAnOutputToNothing) {
    const StateServer server(changed(
        OPEN_OUTPUT, {{"recent_errors", 2}, {"last_error", "EPIPE"}, {"warning", "no card"}}));
    const json checks = examinedQuickly();
    EXPECT_EQ(checkNamed(checks, "output")["level"], "warning");
    EXPECT_EQ(checkNamed(checks, "output")["detail"], "no card");
    EXPECT_EQ(checkNamed(checks, "output_errors")["level"], "warning");
    EXPECT_EQ(checkNamed(checks, "output_errors")["detail"],
              "2 in the last minute, 3 since the start; the last one: EPIPE");
}

TEST(DoctorOfAStrangeState, FailsAndMakesItsOtherChecks) {
    const StateServer server(OPEN_OUTPUT, json::array({5}));
    const json checks = examinedQuickly();
    EXPECT_EQ(checkNamed(checks, "state")["value"], "unreadable");
    EXPECT_EQ(checkNamed(checks, "state")["level"], "failed");
    EXPECT_EQ(checkNamed(checks, "versions")["level"], "ok");
}

/// 16-bit stereo whose ring of eight periods has room for half a period.
json fullStream(const std::string& name, const std::string& state) {
    return {{"name", name},   {"tag", "auxiliary"}, {"state", state},        {"underruns", 0},
            {"frames", 4711}, {"rate_hz", 48000},   {"channels", 2},         {"bits", 16},
            {"process", 42},  {"program", "radio"}, {"queued_frames", 5760}, {"ring_bytes", 24576}};
}

TEST(DoctorOfFullRings, NamesAStoppedStream) {
    const StateServer server(OPEN_OUTPUT, json::array({fullStream("song", "idle")}));
    const json rings = checkNamed(examinedQuickly(), "rings");
    EXPECT_EQ(rings["level"], "warning");
    EXPECT_EQ(rings["detail"], "song (program radio, process 42) is stopped with a full ring");
}

TEST(DoctorOfFullRings, NamesAStreamThatTheServerDoesNotPlay) {
    const StateServer server(OPEN_OUTPUT, json::array({fullStream("song", "active")}));
    const json rings = checkNamed(examinedQuickly(), "rings");
    EXPECT_EQ(rings["level"], "warning");
    EXPECT_EQ(rings["detail"], "the server takes nothing from song (program radio, process 42)");
}

TEST(DoctorOfFullRings, AcceptsARingWithRoomForAPeriod) {
    json stream = fullStream("song", "idle");
    stream["queued_frames"] = 5375;  // one frame more than a period is free
    const StateServer server(OPEN_OUTPUT, json::array({stream}));
    EXPECT_EQ(checkNamed(examinedQuickly(), "rings")["level"], "ok");
}

/// As on a head unit.
TEST(DoctorOfAServerWithoutControlSocket, ReadsItsSettingsAndNeedsTheStateForTheRest) {
    ScriptedServer server;
    server.on(AUDIO_CONNECT_VERSION_SETTING,
              static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions),
              Answer::words(0, 2, 24, 7, 1, 2, 3, 99));
    server.on(AUDIO_CONNECT_VOLUME_SETTING,
              static_cast<std::uint32_t>(wire::VolumeFunction::GetMasterGain),
              Answer::words(0, -50.0F));
    const json checks = examinedQuickly();
    for (const char* name : {"output", "output_errors", "sources", "rings", "rates", "streams"}) {
        EXPECT_EQ(checkNamed(checks, name)["level"], "ok") << name;
        EXPECT_EQ(checkNamed(checks, name)["detail"],
                  "unknown: the server takes no commands; it is not cabinaudio-server");
    }
    EXPECT_EQ(checkNamed(checks, "volumes")["level"], "warning");
    EXPECT_THAT(checkNamed(checks, "volumes")["value"], testing::Contains("volume.master"));
}

}  // namespace cabinaudio::test
