// SPDX-License-Identifier: Apache-2.0
// The sub-command replay: conversations that the development server has recorded, played from
// either side.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/CaptureWriter.h"
#include "devkit/trace/WireFields.h"
#include "tests/support/LocalSocket.h"
#include "tests/tools/ToolTest.h"
#include "wire/Frame.h"

#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace cabinaudio::test {

namespace {

using server::UniqueFd;
using testing::ContainsRegex;
using testing::EndsWith;

constexpr std::size_t FRAMES = 9600;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A client without a library.
class RawClient {
public:
    /// @throws std::runtime_error when nobody listens
    RawClient() : mSocket(connectTo(wire::SERVER_SOCKET)) {}

    void registerAs(std::uint32_t type, const char* name) {
        audio_param header = {};
        header.cmd = AUDIO_CMD_REGISTER;
        header.type = mType = type;
        header.handle = AUDIO_REGISTER_WORD;
        header.length = sizeof header.name;
        std::strncpy(header.name, name, sizeof header.name - 1);
        send(&header, sizeof header);
        const Bytes reply = receive(sizeof(SocketFrameHeader) + sizeof(wire::RegistrationReply));
        std::memcpy(&mHandle, reply.data() + sizeof(SocketFrameHeader) + sizeof(std::uint32_t),
                    sizeof mHandle);
    }

    /// @return the reply with its frame header
    Bytes call(const Bytes& payload, bool hasFlag, std::size_t replySize) {
        audio_param header = {};
        header.cmd = hasFlag ? AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL;
        header.type = mType;
        header.handle = mHandle;
        header.length = static_cast<std::uint32_t>(payload.size());
        std::strcpy(header.name, wire::NAME_UNKNOWN);
        Bytes message(sizeof header);
        std::memcpy(message.data(), &header, sizeof header);
        message.insert(message.end(), payload.begin(), payload.end());
        send(message.data(), message.size());
        return receive(sizeof(SocketFrameHeader) + replySize);
    }

    void send(const void* bytes, std::size_t size) const {
        if (::send(mSocket.get(), bytes, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
            throw std::runtime_error("cannot send");
    }

    /// Fewer at the end of the connection.
    [[nodiscard]] Bytes receive(std::size_t size) const {
        Bytes bytes(size);
        const ssize_t count = recv(mSocket.get(), bytes.data(), size, MSG_WAITALL);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }

private:
    UniqueFd mSocket;
    std::uint32_t mType = 0;
    std::uint32_t mHandle = 0;
};

/// Every operation of every settings connection, with zeros as arguments.
void callAllSettings() {
    std::unique_ptr<RawClient> client;
    std::uint32_t type = 0;
    for (const trace::WireOperation& operation : trace::wireOperations()) {
        if (operation.connection < AUDIO_CONNECT_APP_SETTING) continue;
        if (!client || type != operation.connection) {
            client = std::make_unique<RawClient>();
            client->registerAs(type = operation.connection, "everything");
        }
        Bytes payload(operation.request->size);
        std::memcpy(payload.data(), &operation.function, sizeof operation.function);
        const Bytes reply = client->call(payload, operation.hasFlag, operation.reply->size);
        EXPECT_EQ(reply.size(), sizeof(SocketFrameHeader) + operation.reply->size)
            << operation.name;
    }
}

std::size_t settingsOperations() {
    const auto operations = trace::wireOperations();
    return static_cast<std::size_t>(std::count_if(
        operations.begin(), operations.end(),
        [](const auto& operation) { return operation.connection >= AUDIO_CONNECT_APP_SETTING; }));
}

class Replay : public ToolTest {
protected:
    Replay() {
        for (const char* name : {"one.wav", "two.wav"})
            writeSound(file(name), {.frames = FRAMES});
        // The same length, and other samples from the last quarter on.
        Sound other = readSound(file("one.wav"));
        for (std::size_t i = FRAMES * 3 / 2; i < other.samples.size(); ++i)
            other.samples[i] = ~other.samples[i];
        write(file("other.wav"), other);
    }

    static void write(const std::string& path, const Sound& sound) {
        SF_INFO info = sound.info;
        SNDFILE* const out = sf_open(path.c_str(), SFM_WRITE, &info);
        const auto count = static_cast<sf_count_t>(sound.samples.size());
        const bool isWritten =
            out != nullptr && sf_write_int(out, sound.samples.data(), count) == count;
        sf_close(out);
        if (!isWritten) throw std::runtime_error(path + " cannot be written");
    }

    /// Commands of the tool, as one application.
    [[nodiscard]] std::string script(const std::string& commands) const {
        return "set -e; cd '" + mDirectory.path().string() + "'; tool=" + toolPath() + "; " +
               commands;
    }
    void runScript(const std::string& commands) const {
        const Outcome outcome = runProgram({.words = {"/bin/sh", "-c", script(commands)}});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.text();
    }

    /// Records what `act` does, with a server of these options. @return the capture's path
    template <typename Act>
    std::string record(const Words& options, Act act, const Words& sound = {"--trace-sound"}) {
        const std::string capture = file("capture.pcapng");
        serve(with(with(options, {"--trace-to", capture}), sound));
        act();
        mServer->stop();
        mServer.reset();
        return capture;
    }

    [[nodiscard]] static json asClient(int status, const std::string& capture,
                                       const Words& more = {}) {
        return jsonOf(runExpecting(status, with({"replay", capture, "--json"}, more)));
    }
    [[nodiscard]] json asServer(int status, const std::string& capture, const std::string& commands,
                                const Words& more = {}) const {
        const Words words = with({"replay", capture, "--as", "server", "--json"}, more);
        return jsonOf(runExpecting(status, with(words, {"--", "/bin/sh", "-c", script(commands)})));
    }
};

constexpr char PLAYING[] = "$tool play --name one --wait 20 one.wav";

/// As the demo has it: two players at once, a recorder and a call with an uplink.
constexpr char DEMO[] =
    "$tool play --tag alternative --name one --wait 20 one.wav & first=$!;"
    "$tool play --tag auxiliary --name two --wait 20 two.wav & second=$!;"
    "$tool record --tag input0 --channels 1 --seconds 0.2 --name microphone heard.wav & third=$!;"
    "$tool record --tag uplink --codec opus --seconds 0.2 --name call call.opus;"
    "wait $first; wait $second; wait $third;"
    "$tool play --tag main --name sink one.wav;"
    "$tool set volume.master=-6dB; $tool get volume.master";

std::vector<std::string> textsOf(const json& report) {
    std::vector<std::string> texts;
    for (const json& difference : report.at("differences"))
        texts.push_back(difference.at("text"));
    return texts;
}

}  // namespace

TEST_F(Replay, PlaysTheDemoFromBothSides) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same bytes in the emulator";
    const std::string capture = record({"--fast"}, [&] { runScript(DEMO); });
    serve({"--fast"});
    const json client = asClient(0, capture);
    EXPECT_THAT(textsOf(client), IsEmpty());
    EXPECT_EQ(client["played_bytes"], 3 * FRAMES * 4);
    EXPECT_GT(client["recorded_bytes"], 0);
    EXPECT_GE(client["notifications"], 5);
    mServer.reset();
    const json server = asServer(0, capture, DEMO);
    EXPECT_THAT(textsOf(server), IsEmpty());
    EXPECT_EQ(server["played_bytes"], 3 * FRAMES * 4);
    EXPECT_EQ(server["notifications"], client["notifications"]);
    EXPECT_EQ(server["application_status"], 0);
}

TEST_F(Replay, KeepsTheRecordedTimes) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same bytes in the emulator";
    const std::string capture = record({}, [&] { runScript(PLAYING); });
    constexpr double SOUND_MS = 1000.0 * FRAMES / 48000;
    const auto isAsLong = [&](const auto& replay) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_THAT(textsOf(replay()), IsEmpty());
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - begin;
        EXPECT_GE(took.count(), SOUND_MS);
    };
    serve({"--fast"});
    isAsLong([&] { return asClient(0, capture, {"--timing", "kept"}); });
    mServer.reset();
    isAsLong([&] { return asServer(0, capture, PLAYING, {"--timing", "kept"}); });
}

TEST_F(Replay, PlaysEverySettingsOperationFromBothSides) {
    if (toolIsEmulated()) GTEST_SKIP() << "needs a client of the emulator";
    const std::string capture = record({"--fast"}, callAllSettings);
    serve({"--fast"});
    const json client = asClient(0, capture);
    EXPECT_THAT(textsOf(client), IsEmpty());
    EXPECT_EQ(client["requests"], settingsOperations() + client["connections"].get<std::size_t>());
    mServer.reset();
    ToolProcess server({"replay", capture, "--as", "server", "--json"});
    const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < bound) {
        try {
            (void)connectTo(wire::SERVER_SOCKET);
            break;
        } catch (const std::runtime_error&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    callAllSettings();
    const json report = jsonOf(server.finishExpecting(0));
    EXPECT_THAT(textsOf(report), IsEmpty());
    EXPECT_EQ(report["requests"], client["requests"]);
}

TEST_F(Replay, NamesTheFieldThatAServerAnswersDifferently) {
    const std::string capture = record({"--fast"}, [] {
        runExpecting(0, {"get", "volume.master", "--wait", "20"});
    });
    serve({"--fast"});
    runExpecting(0, {"set", "volume.master=-6dB"});
    const json report = asClient(5, capture);
    ASSERT_EQ(report["differences"].size(), 1) << report.dump();
    const json& difference = report["differences"][0];
    EXPECT_EQ(difference["operation"], "getMasterVolume");
    EXPECT_EQ(difference["field"], "gain");
    EXPECT_EQ(difference["recorded"], "0");
    EXPECT_EQ(difference["got"], "-6");
    const Outcome text = runExpecting(5, {"replay", capture});
    EXPECT_THAT(text.out, ContainsRegex("record [0-9]+: connection [0-9]+ \\(volume \"[^\"]*\"\\): "
                                        "getMasterVolume: gain: recorded 0, got -6\n"));
    EXPECT_THAT(text.out, EndsWith(": 1 difference\n"));
}

TEST_F(Replay, IgnoresTheFieldsThatItIsTold) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same words in the emulator";
    const std::string capture = record({"--fast"}, [] {
        runExpecting(0, {"get", "volume.master", "--wait", "20"});
    });
    serve({"--fast"});
    runExpecting(0, {"set", "volume.master=-6dB"});
    for (const char* field : {"gain", "getMasterVolume.gain"})
        EXPECT_EQ(asClient(0, capture, {"--ignore", field})["equal"], true) << field;
    EXPECT_EQ(asClient(5, capture, {"--ignore", "setMasterVolume.gain"})["equal"], false);
}

TEST_F(Replay, NamesTheFieldThatAnApplicationSendsDifferently) {
    if (toolIsEmulated()) GTEST_SKIP() << "the launcher is the build machine's";
    const std::string capture =
        record({"--fast"}, [&] { runScript("$tool set volume.master=-6dB --wait 20"); });
    const json equal = asServer(0, capture, "$tool set volume.master=-6dB");
    EXPECT_THAT(textsOf(equal), IsEmpty());
    const json report = asServer(5, capture, "$tool set volume.master=-7dB");
    ASSERT_EQ(report["differences"].size(), 1) << report.dump();
    EXPECT_EQ(report["differences"][0]["operation"], "setMasterVolume");
    EXPECT_EQ(report["differences"][0]["field"], "gain");
    EXPECT_EQ(report["differences"][0]["recorded"], "-6");
    EXPECT_EQ(report["differences"][0]["got"], "-7");
}

TEST_F(Replay, NamesTheFirstSampleThatDiffers) {
    if (toolIsEmulated()) GTEST_SKIP() << "the launcher is the build machine's";
    const std::string capture = record({"--fast"}, [&] { runScript(PLAYING); });
    const json report = asServer(5, capture, "$tool play --name one other.wav");
    ASSERT_EQ(report["differences"].size(), 1) << report.dump();
    EXPECT_EQ(report["differences"][0]["operation"], "sound");
    EXPECT_EQ(report["differences"][0]["field"],
              "byte " + std::to_string(FRAMES * 3));  // three quarters of 4 bytes a frame
}

TEST_F(Replay, ReportsSurplusAndMissingConnections) {
    if (toolIsEmulated()) GTEST_SKIP() << "the launcher is the build machine's";
    const std::string capture =
        record({"--fast"}, [&] { runScript("$tool version --wait 20 >version"); });
    const json missing = asServer(5, capture, "true");
    ASSERT_EQ(missing["differences"].size(), 1) << missing.dump();
    EXPECT_EQ(missing["differences"][0]["operation"], "connection");
    EXPECT_EQ(missing["differences"][0]["got"], "none");
    const json surplus = asServer(5, capture, "$tool version >again; $tool version >more");
    ASSERT_EQ(surplus["differences"].size(), 1) << surplus.dump();
    EXPECT_EQ(surplus["differences"][0]["record"], nullptr);
    EXPECT_EQ(surplus["differences"][0]["recorded"], "none");
    EXPECT_EQ(contentOf(file("version")), contentOf(file("again")));
}

TEST_F(Replay, PlaysSilenceWhereNoSoundWasRecorded) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same bytes in the emulator";
    const std::string capture = record({"--fast"}, [&] { runScript(PLAYING); }, {});
    serve({"--fast"});
    const json report = asClient(0, capture);
    EXPECT_EQ(report["played_bytes"], FRAMES * 4);
    ASSERT_EQ(report["warnings"].size(), 1);
    EXPECT_THAT(report["warnings"][0].get<std::string>(), HasSubstr("is played as silence"));
}

TEST_F(Replay, SendsMessagesThatBreakTheProtocolAsTheyAre) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same bytes in the emulator";
    const std::string capture = record({"--fast"}, [] {
        RawClient client;
        client.registerAs(AUDIO_CONNECT_VOLUME_SETTING, "broken");
        audio_param wrong = {};
        wrong.cmd = 77;
        client.send(&wrong, sizeof wrong);
        EXPECT_THAT(client.receive(1), IsEmpty());
    });
    serve({"--fast"});
    const json report = asClient(0, capture);
    ASSERT_EQ(report["warnings"].size(), 1) << report.dump();
    EXPECT_THAT(report["warnings"][0].get<std::string>(), HasSubstr("the unknown command 77"));
    EXPECT_THAT(mServer->output(), HasSubstr("unknown command 77"));
}

TEST_F(Replay, WritesACaseForEachConnectionIntoAJUnitFile) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same words in the emulator";
    const std::string capture = record({"--fast"}, [] {
        runExpecting(0, {"get", "volume.master", "--wait", "20"});
    });
    serve({"--fast"});
    runExpecting(0, {"set", "volume.master=-6dB"});
    (void)asClient(5, capture, {"--junit", file("junit.xml")});
    const std::string xml = contentOf(file("junit.xml"));
    EXPECT_THAT(xml, HasSubstr("failures=\"1\""));
    EXPECT_THAT(xml, HasSubstr("getMasterVolume: gain: recorded 0, got -6"));
}

TEST_F(Replay, RefusesWhatIsNoWholeConversation) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same words in the emulator";
    const std::string capture = record({"--fast"}, [] {
        runExpecting(0, {"version", "--wait", "20"});
    });
    const auto refusal = [](const std::string& path) {
        const Outcome outcome = runExpecting(1, {"replay", path, "--as", "server"});
        expectOneLine(outcome.err);
        return outcome.err;
    };
    EXPECT_THAT(refusal(file("one.wav")), HasSubstr("one.wav: at byte 0: no pcapng capture"));
    EXPECT_THAT(refusal(file("missing")), HasSubstr("missing"));

    const std::string bytes = contentOf(capture);
    std::ofstream(file("cut"), std::ios::binary) << bytes.substr(0, bytes.size() - 10);
    EXPECT_THAT(refusal(file("cut")), HasSubstr("cut: cut off at byte "));

    {
        trace::CaptureReader whole(capture);
        trace::CaptureWriter part(file("part"));
        for (auto record = whole.next(); record; record = whole.next())
            if (record->kind == trace::Kind::ToServer && record->function != trace::UNKNOWN)
                part.write(*record);
    }
    EXPECT_THAT(refusal(file("part")), HasSubstr("begins in the middle of connection "));

    { trace::CaptureWriter empty(file("empty")); }
    EXPECT_THAT(refusal(file("empty")), HasSubstr("has no conversation"));
}

TEST_F(Replay, NeedsTheOtherSide) {
    if (toolIsEmulated()) GTEST_SKIP() << "the same words in the emulator";
    const std::string capture = record({"--fast"}, [] {
        runExpecting(0, {"version", "--wait", "20"});
    });
    EXPECT_THAT(runExpecting(3, {"replay", capture}).err, HasSubstr("no server"));
    EXPECT_THAT(runExpecting(4, {"replay", capture, "--as", "server", "--wait", "0.05"}).err,
                HasSubstr("timed out after 0.05 s waiting for the application"));
    serve({"--fast"});
    EXPECT_THAT(runExpecting(1, {"replay", capture, "--as", "server"}).err,
                HasSubstr("is running already"));
}

}  // namespace cabinaudio::test
