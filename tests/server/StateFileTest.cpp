// SPDX-License-Identifier: Apache-2.0
//
// Settings that outlive the server.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/ServerRun.h"
#include "tests/server/SettingsClient.h"
#include "tests/server/State.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <thread>

namespace cabinaudio::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class StateFile : public ::testing::Test {
protected:
    [[nodiscard]] std::unique_ptr<RealServer> start() const {
        return std::make_unique<RealServer>(
            std::vector<std::string>{"--output", "null", "--state", path});
    }
    [[nodiscard]] std::string content() const { return contentsOf(path); }
    void write(const std::string& text) const { std::ofstream(path) << text; }
    static json settingsOf(const RealServer& server) { return stateOf(server).at("settings"); }
    /// The message of a server that refuses this file.
    [[nodiscard]] std::string complaint(const std::string& text) const {
        write(text);
        const std::string said = complaintAbout(path);
        EXPECT_EQ(content(), text) << "left alone";
        return said;
    }

    TemporaryDirectory directory;
    std::string path = directory.file("state.json");
};

/// Something of every kind.
void setManyValues() {
    SettingsClients clients;
    const auto set = [&](audio_connect_type type, const Message& message) {
        ASSERT_EQ(clients.tell(type, message), AUDIO_NO_ERROR);
    };
    set(VOLUME, Message(20).real(-6.1F));
    set(VOLUME, Message(27).word(3).real(-2.0F));
    set(VOLUME, Message(24).text("main").text("radio").real(-4.5F));
    set(VOLUME, Message(39).text("navigation").real(3.0F));
    set(VOLUME, Message(8).word(8).number(0));
    set(VOLUME, Message(37).number(30));
    set(VOLUME, Message(44).real(100.0F).real(200.5F));
    set(VOLUME, Message(12).word(1).real(10.0F).real(20.0F));
    set(SOURCE, Message(14).text("main").text("radio"));
    set(SOURCE, Message(2).number(-3).number(9));
    set(SOURCE, Message(22).word(15));
    set(SOURCE, Message(30).word(4000000000U).word(77).word(88));
    set(SOURCE, Message(34).number(0));
    set(APP, Message(22).word(2).number(1500));
    set(APP, Message(44).word(9).word(1).word(2).word(3));
    set(APP, Message(4096).text("main").text("reverb").step(1));
    set(APP, Message(4098).text("main").text("reverb").block({0, 1, 0xAB, 0xFF}));
    set(MIXER, Message(2).number(1));
    set(MIXER, Message(8).word(0).real(-1).real(-2).real(-3).real(-4));
    set(RECORD, Message(0).text("uplink").text("agc").block({9}));
}

TEST_F(StateFile, KeepsAllSettingsAcrossARestart) {
    json before;
    {
        const auto server = start();
        setManyValues();
        before = settingsOf(*server);
    }
    EXPECT_EQ(json::parse(content()), before);
    EXPECT_THAT(content(), HasSubstr("\"master_db\": -6.1,")) << "as a person would write it";
    EXPECT_THAT(content(), HasSubstr("\"parameter\": \"0001abff\""));
    const auto server = start();
    EXPECT_EQ(settingsOf(*server), before);
    SettingsClients clients;
    EXPECT_EQ(clients.ask(VOLUME, Message(21), 8).real(4), -6.1F);
    EXPECT_EQ(clients.ask(RECORD, Message(1).text("uplink").text("agc").block({0}), 9).byte(8), 9U);
}

TEST_F(StateFile, IsWrittenSoonAfterAChange) {
    const auto server = start();
    setManyValues();
    const json settings = settingsOf(*server);
    EXPECT_TRUE(eventually([&] { return json::parse(content(), nullptr, false) == settings; }));
    server->kill(SIGKILL);
    server->wait();
    EXPECT_EQ(settingsOf(*start()), settings);
}

TEST_F(StateFile, IsNotWrittenWithoutAChange) {
    start().reset();
    EXPECT_EQ(content(), "");
}

TEST_F(StateFile, DoesNotKeepALoudspeakerTest) {
    {
        const auto server = start();
        SettingsClients clients;
        EXPECT_EQ(clients.tell(SOURCE, Message(19).word(1).number(440)), AUDIO_NO_ERROR);
    }
    EXPECT_THAT(content(), ::testing::Not(HasSubstr("440")));
}

// The file is complete at every moment, whenever the server is killed.
TEST_F(StateFile, IsCompleteWheneverTheServerDies) {
    for (int round = 0; round < 10; ++round) {
        const auto server = start();
        SettingsClients clients;
        const Bytes large(32768, static_cast<std::uint8_t>(round));
        std::atomic<bool> isOver{false};
        std::thread reader([&] {
            while (!isOver) {
                const std::string seen = content();
                EXPECT_TRUE(seen.empty() || json::accept(seen));
            }
        });
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(110 + round * 11);
        for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
            const std::string name = "effect" + std::to_string(i % 20);
            EXPECT_EQ(clients.tell(APP, Message(4098).text("main").text(name).block(large)),
                      AUDIO_NO_ERROR);
        }
        server->kill(SIGKILL);
        server->wait();
        isOver = true;
        reader.join();
        EXPECT_TRUE(content().empty() || json::accept(content()));
    }
}

TEST_F(StateFile, MayOmitSettings) {
    write(R"({"volume": {"master_db": -3}, "mixer": {}})");
    const json settings = settingsOf(*start());
    EXPECT_EQ(settings.at("volume").at("master_db"), -3);
    EXPECT_EQ(settings.at("volume").at("ramp_up_ms"), 20);
    EXPECT_EQ(settings.at("source").at("uplink_destination"), "telephone");
}

TEST_F(StateFile, IgnoresAndDropsUnknownKeys) {
    write(R"({"volume": {"mastre_db": -3, "second_db": -4}, "colour": 7,
              "app": {"effects": [{"tag": "main", "name": "echo", "wet": 1}]}})");
    {
        const auto server = start();
        EXPECT_EQ(settingsOf(*server).at("volume").at("second_db"), -4);
        EXPECT_THAT(server->output(), HasSubstr("state.json: volume.mastre_db is not known"));
        EXPECT_THAT(server->output(), HasSubstr("state.json: colour is not known"));
        EXPECT_THAT(server->output(), HasSubstr("state.json: app.effects.0.wet is not known"));
        SettingsClients clients;
        EXPECT_EQ(clients.tell(VOLUME, Message(38)), AUDIO_NO_ERROR);
    }
    EXPECT_THAT(content(), ::testing::Not(HasSubstr("mastre_db")));
}

TEST_F(StateFile, IsRefusedWithTheLineOfASyntaxError) {
    EXPECT_THAT(complaint("{\n\"volume\": {\n\"master_db\" 3}}"),
                HasSubstr("state.json: parse error at line 3, column 13"));
    EXPECT_THAT(complaint("{\"volume\": {\"master_db\": 3"), HasSubstr("parse error at line 1"));
    EXPECT_THAT(complaint(" "), HasSubstr("parse error at line 1"));
    EXPECT_THAT(complaint("7"), HasSubstr("the document is not an object"));
}

TEST_F(StateFile, IsRefusedWithTheNameOfAWrongValue) {
    const std::pair<const char*, const char*> wrong[] = {
        {R"({"volume": 7})", "volume is not an object"},
        {R"({"volume": {"master_db": 24.5}})", "volume.master_db is out of range"},
        {R"({"volume": {"master_db": 1e300}})", "volume.master_db is not a number of its size"},
        {R"({"volume": {"master_db": "loud"}})", "volume.master_db is not a number"},
        {R"({"volume": {"channels_db": [0, 0, 0]}})", "volume.channels_db is not a list of 6"},
        {R"({"volume": {"channels_db": [0, 0, 0, 0, true, 0]}})",
         "volume.channels_db.4 is not a number"},
        {R"({"volume": {"tracks": [{"tag": "main", "name": "a", "gain_db": 99}]}})",
         "volume.tracks.0.gain_db is out of range"},
        {R"({"volume": {"tracks": [{"tag": "front", "name": "a"}]}})",
         "volume.tracks is out of range"},
        {R"({"volume": {"tracks": [{"tag": "main"}]}})", "volume.tracks.0 has no tag or no name"},
        {R"({"volume": {"stream_types_db": {"noise": 1}}})",
         "volume.stream_types_db is out of range"},
        {R"({"volume": {"muted_paths": 16}})", "volume.muted_paths is out of range"},
        {R"({"volume": {"duck_percent": 10.5}})", "volume.duck_percent is not a whole number"},
        {R"({"volume": {"duck_percent": -1}})", "volume.duck_percent is not a whole number"},
        {R"({"volume": {"duck_percent": 5000000000}})",
         "volume.duck_percent is not a whole number"},
        {R"({"source": {"auto_ramp": 1}})", "source.auto_ramp is not true or false"},
        {R"({"source": {"uplink_destination": 1}})", "source.uplink_destination is not a text"},
        {R"({"source": {"seat_sources": {"front": 1}}})",
         "source.seat_sources.front is not under a number"},
        {R"({"source": {"dac_mapping": [0, 1, 2, 3, 4, 11]}})",
         "source.dac_mapping is out of range"},
        {R"({"app": {"speaker_delays_us": [0, 0, 0, 0, 0, 1000001]}})",
         "app.speaker_delays_us is out of range"},
        {R"({"app": {"non_linear": {"1": "00"}}})", "app.non_linear is out of range"},
        {R"({"app": {"effects": [{"tag": "main", "name": "a", "parameter": "0g"}]}})",
         "app.effects.0.parameter is not in hexadecimal digits"},
        {R"({"app": {"effects": [{"tag": "main", "name": "a", "parameter": "012"}]}})",
         "app.effects.0.parameter is not in pairs of hexadecimal digits"},
        {R"({"app": {"effects": [{"tag": "uplink", "name": "a"}]}})",
         "app.effects is out of range"},
        {R"({"mixer": {"navigation_db": [0, 0, 0, 1]}})", "mixer.navigation_db is out of range"},
        {R"({"capture_effects": {}})", "capture_effects is not a list"},
    };
    for (const auto& [text, problem] : wrong)
        EXPECT_THAT(complaint(text), HasSubstr(std::string("state.json: ") + problem)) << text;
}

TEST_F(StateFile, CausesALogLineWhenItCannotBeWritten) {
    path = directory.file("nowhere/state.json");
    const auto server = start();
    setManyValues();
    EXPECT_TRUE(eventually([&] {
        return server->output().find("state.json cannot be written: ") != std::string::npos;
    }));
    EXPECT_EQ(settingsOf(*server).at("volume").at("duck_percent"), 30) << "it serves on";
}

}  // namespace
}  // namespace cabinaudio::test
