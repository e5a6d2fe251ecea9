// SPDX-License-Identifier: Apache-2.0
//
// The answers on settings connections: sizes, defaults, ranges, remembered values, and lists of
// streams. Other tests measure the effect on the sound.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/RawClient.h"
#include "tests/server/SettingsClient.h"
#include "tests/support/RealServer.h"
#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <limits>
#include <set>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
constexpr float INFINITE = std::numeric_limits<float>::infinity();

class SettingsConnection : public ::testing::Test {
protected:
    std::int32_t tell(audio_connect_type type, const Message& message) {
        return clients.tell(type, message);
    }
    Answer ask(audio_connect_type type, const Message& message, std::size_t size) {
        return clients.ask(type, message, size);
    }
    [[nodiscard]] json state() const { return json::parse(server.command("state")).at("settings"); }

    RealServer server{{"--output", "null"}};
    SettingsClients clients;
};

// ---- Sizes --------------------------------------------------------------------------------------

/// All functions except the version query, which is not a setting.
std::vector<wire::SettingRow> functions() {
    std::vector<wire::SettingRow> all;
    for (const wire::SettingRow& row : wire::settingRows())
        if (row.connection != AUDIO_CONNECT_VERSION_SETTING) all.push_back(row);
    return all;
}

TEST_F(SettingsConnection, AnswersEachFunctionInFullSize) {
    for (const wire::SettingRow& function : functions()) {
        SCOPED_TRACE(testing::Message() << "type " << function.connection << " id " << function.id);
        RawClient& client = clients.of(function.connection);
        const Message request = Message(function.id).filledTo(function.requestSize);
        const Answer answer(client.call(request.bytes(), function.replySize));
        EXPECT_NE(answer.status(), AUDIO_INVALID_OPERATION);
        // Surplus bytes would be taken for this frame.
        EXPECT_EQ(client.call(Message(0xFFFF).bytes(), 4).size(), 4U);
    }
}

TEST_F(SettingsConnection, IsClosedWhenARequestIsTooShort) {
    for (const wire::SettingRow& function : functions()) {
        if (function.requestSize == 4) continue;  // too short for any function
        SCOPED_TRACE(testing::Message() << "type " << function.connection << " id " << function.id);
        RawClient client(function.connection, "unkn");
        const Bytes payload = Message(function.id).filledTo(function.requestSize - 1).bytes();
        Bytes message = bytesOf(client.requestHeader(payload.size()));
        message.insert(message.end(), payload.begin(), payload.end());
        client.send(message);
        EXPECT_TRUE(client.isClosedByServer());
    }
    EXPECT_THAT(server.output(), HasSubstr("setMasterVolume with a payload of 7 bytes"));
}

TEST_F(SettingsConnection, RefusesUnknownFunctions) {
    std::set<std::pair<audio_connect_type, std::uint32_t>> known;
    for (const wire::SettingRow& function : functions())
        known.insert({function.connection, function.id});
    for (const auto type : {VOLUME, SOURCE, APP, MIXER, RECORD}) {
        for (std::uint32_t id = 0; id < 64; ++id) {
            if (known.count({type, id}) != 0) continue;
            EXPECT_EQ(tell(type, Message(id).filledTo(600)), AUDIO_INVALID_OPERATION)
                << type << " " << id;
        }
        EXPECT_EQ(tell(type, Message(4100).filledTo(600)), AUDIO_INVALID_OPERATION);
    }
}

// ---- Volumes ------------------------------------------------------------------------------------

struct Gain {
    const char* key;  // in the state
    std::uint32_t setStep, getStep, setGain, getGain;
};

constexpr Gain GAINS[] = {
    {"master_db", 4, 5, 20, 21}, {"second_db", 16, 17, 22, 23}, {"alternative_db", 29, 30, 31, 32}};

TEST_F(SettingsConnection, HasVolumesInStepsOfHalfADecibel) {
    for (const Gain& gain : GAINS) {
        SCOPED_TRACE(gain.key);
        EXPECT_EQ(ask(VOLUME, Message(gain.getStep), 8).byte(4), 100U);
        EXPECT_EQ(ask(VOLUME, Message(gain.getGain), 8).real(4), 0.0F);
        for (unsigned step = 0; step <= 148; ++step) {
            ASSERT_EQ(tell(VOLUME, Message(gain.setStep).step(step)), AUDIO_NO_ERROR);
            EXPECT_EQ(ask(VOLUME, Message(gain.getStep), 8).byte(4), step);
            const float dB = step == 0 ? -103.5F : (static_cast<float>(step) - 100.0F) / 2;
            EXPECT_EQ(ask(VOLUME, Message(gain.getGain), 8).real(4), dB);
        }
        EXPECT_EQ(tell(VOLUME, Message(gain.setStep).step(149)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(VOLUME, Message(gain.setStep).step(255)), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(VOLUME, Message(gain.getStep), 8).byte(4), 148U);
        EXPECT_EQ(state().at("volume").at(gain.key), 24);
    }
}

TEST_F(SettingsConnection, HasVolumesInDecibelsAndReportsTheNearestStep) {
    for (const Gain& gain : GAINS) {
        SCOPED_TRACE(gain.key);
        const std::pair<float, unsigned> values[] = {{-103.5F, 0}, {-60.0F, 0}, {-49.5F, 1},
                                                     {-6.0F, 88},  {-0.3F, 99}, {0.0F, 100},
                                                     {24.0F, 148}};
        for (const auto& [dB, step] : values) {
            ASSERT_EQ(tell(VOLUME, Message(gain.setGain).real(dB)), AUDIO_NO_ERROR) << dB;
            EXPECT_EQ(ask(VOLUME, Message(gain.getGain), 8).real(4), dB);
            EXPECT_EQ(ask(VOLUME, Message(gain.getStep), 8).byte(4), step) << dB;
        }
        for (const float dB : {-103.6F, 24.1F, INFINITE, -INFINITE, NOT_A_NUMBER})
            EXPECT_EQ(tell(VOLUME, Message(gain.setGain).real(dB)), AUDIO_BAD_VALUE) << dB;
        EXPECT_EQ(ask(VOLUME, Message(gain.getGain), 8).real(4), 24.0F);
    }
}

TEST_F(SettingsConnection, RefusesDuckingThatAmplifies) {
    EXPECT_EQ(state().at("volume").at("ducking_target_db"), -20);
    EXPECT_EQ(tell(VOLUME, Message(3).step(100)), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("volume").at("ducking_target_db"), 0);
    EXPECT_EQ(tell(VOLUME, Message(3).step(101)), AUDIO_BAD_VALUE);
    for (const float dB : {-103.5F, -12.0F, 0.0F})
        EXPECT_EQ(tell(VOLUME, Message(26).real(dB)), AUDIO_NO_ERROR);
    for (const float dB : {-103.6F, 0.1F, NOT_A_NUMBER})
        EXPECT_EQ(tell(VOLUME, Message(26).real(dB)), AUDIO_BAD_VALUE);

    EXPECT_EQ(tell(VOLUME, Message(2).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("volume").at("ducking_mode"), 1);
    for (const int mode : {-1, 2})
        EXPECT_EQ(tell(VOLUME, Message(2).number(mode)), AUDIO_BAD_VALUE);

    for (const int percent : {0, 100, 40})
        EXPECT_EQ(tell(VOLUME, Message(37).number(percent)), AUDIO_NO_ERROR);
    for (const int percent : {-1, 101})
        EXPECT_EQ(tell(VOLUME, Message(37).number(percent)), AUDIO_BAD_VALUE);
    EXPECT_EQ(state().at("volume").at("duck_percent"), 40);
    EXPECT_EQ(tell(VOLUME, Message(38)), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("volume").at("duck_percent"), 0);
}

TEST_F(SettingsConnection, HasAGainForEachLoudspeaker) {
    for (std::uint32_t channel = 1; channel <= 32; channel *= 2) {
        EXPECT_EQ(ask(VOLUME, Message(28).word(channel), 12).real(8), 0.0F);
        const unsigned step = 10 + channel;
        ASSERT_EQ(tell(VOLUME, Message(6).word(channel).step(step)), AUDIO_NO_ERROR);
        const Answer answer = ask(VOLUME, Message(7).word(channel), 12);
        EXPECT_EQ(answer.status(), AUDIO_NO_ERROR);
        EXPECT_EQ(answer.word(4), channel);
        EXPECT_EQ(answer.byte(8), step);
    }
    EXPECT_EQ(tell(VOLUME, Message(27).word(1 + 32).real(-3.0F)), AUDIO_NO_ERROR) << "a mask";
    EXPECT_EQ(ask(VOLUME, Message(28).word(1), 12).real(8), -3.0F);
    EXPECT_EQ(ask(VOLUME, Message(28).word(32), 12).real(8), -3.0F);
    EXPECT_EQ(ask(VOLUME, Message(7).word(2), 12).byte(8), 12U) << "another one";
}

TEST_F(SettingsConnection, RefusesUnknownLoudspeakers) {
    for (const std::uint32_t channel : {0U, 64U, 65535U, 0xFFFFFFFFU}) {
        EXPECT_EQ(tell(VOLUME, Message(6).word(channel).step(100)), AUDIO_BAD_VALUE) << channel;
        EXPECT_EQ(tell(VOLUME, Message(27).word(channel).real(0)), AUDIO_BAD_VALUE) << channel;
        EXPECT_EQ(ask(VOLUME, Message(7).word(channel), 12).status(), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(VOLUME, Message(28).word(channel), 12).status(), AUDIO_BAD_VALUE);
    }
    EXPECT_EQ(ask(VOLUME, Message(28).word(3), 12).status(), AUDIO_BAD_VALUE) << "two of them";
    EXPECT_EQ(tell(VOLUME, Message(6).word(1).step(149)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(VOLUME, Message(27).word(1).real(24.1F)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(VOLUME, Message(27).word(1).real(NOT_A_NUMBER)), AUDIO_BAD_VALUE);
}

TEST_F(SettingsConnection, RemembersVolumesOfTracksThatDoNotExist) {
    const auto set = [](float dB, const char* tag, const char* name) {
        return Message(24).text(tag).text(name).real(dB);
    };
    const auto get = [](const char* tag, const char* name) {
        return Message(25).text(tag).text(name);
    };
    EXPECT_EQ(ask(VOLUME, get("main", "radio"), 8).real(4), 0.0F);
    EXPECT_EQ(tell(VOLUME, set(-6.5F, "main", "radio")), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(VOLUME, set(-1.0F, "auxiliary", "radio")), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(VOLUME, get("main", "radio"), 8).real(4), -6.5F);
    EXPECT_EQ(ask(VOLUME, Message(19).text("main").text("radio"), 8).byte(4), 87U);
    EXPECT_EQ(ask(VOLUME, get("alternative", "radio"), 8).real(4), 0.0F);
    EXPECT_EQ(tell(VOLUME, Message(18).text("main").text("radio").step(120)), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(VOLUME, get("main", "radio"), 8).real(4), 10.0F);
    EXPECT_EQ(ask(VOLUME, get("auxiliary", "radio"), 8).real(4), -1.0F);

    for (const char* tag : {"", "second", "Main", "uplink"}) {
        EXPECT_EQ(tell(VOLUME, set(0.0F, tag, "radio")), AUDIO_BAD_VALUE) << tag;
        EXPECT_EQ(ask(VOLUME, get(tag, "radio"), 8).status(), AUDIO_BAD_VALUE) << tag;
    }
    EXPECT_EQ(tell(VOLUME, set(0.0F, "main", "")), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(VOLUME, set(24.1F, "main", "radio")), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(VOLUME, Message(18).text("main").text("radio").step(149)), AUDIO_BAD_VALUE);
}

TEST_F(SettingsConnection, RemembersAtMost256Tracks) {
    const auto set = [](int i) {
        return Message(24).text("main").text("track" + std::to_string(i)).real(-1.0F);
    };
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(tell(VOLUME, set(i)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(VOLUME, set(256)), AUDIO_NO_MEMORY);
    EXPECT_EQ(tell(VOLUME, set(255)), AUDIO_NO_ERROR) << "known already";
}

TEST_F(SettingsConnection, HasChannelGainsOfTracks) {
    Message good = Message(43).text("auxiliary").text("nav");
    for (int i = 0; i < 8; ++i)
        good.real(-static_cast<float>(i));
    EXPECT_EQ(tell(VOLUME, good), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("volume").at("tracks").at(0).at("channels_db"),
              json({0, -1, -2, -3, -4, -5, -6, -7}));
    EXPECT_EQ(tell(VOLUME, Message(43).text("main").text("nav").filledTo(164)), AUDIO_BAD_VALUE);
    for (const float wrong : {24.5F, -104.0F, NOT_A_NUMBER}) {
        Message bad = Message(43).text("auxiliary").text("nav");
        for (int i = 0; i < 7; ++i)
            bad.real(0.0F);
        EXPECT_EQ(tell(VOLUME, bad.real(wrong)), AUDIO_BAD_VALUE);
    }
}

TEST_F(SettingsConnection, HasAVolumeForEachStreamType) {
    const Answer list = ask(VOLUME, Message(36), 2056);
    EXPECT_EQ(list.status(), AUDIO_NO_ERROR);
    ASSERT_EQ(list.number(4), 6);
    const char* names[] = {"media", "navigation", "call", "voice", "alarm", "system"};
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(list.text(8 + 64 * i), names[i]);
        EXPECT_EQ(ask(VOLUME, Message(40).text(names[i]), 8).real(4), 0.0F);
        const float dB = -1.5F * static_cast<float>(i + 1);
        EXPECT_EQ(tell(VOLUME, Message(39).text(names[i]).real(dB)), AUDIO_NO_ERROR);
        EXPECT_EQ(ask(VOLUME, Message(40).text(names[i]), 8).real(4), dB);
        EXPECT_EQ(ask(VOLUME, Message(35).text(names[i]), 8).byte(4), 100 - 3 * (i + 1));
    }
    EXPECT_TRUE(list.isZeroFrom(8 + 6 * 64));
    EXPECT_EQ(tell(VOLUME, Message(34).text("call").step(148)), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(VOLUME, Message(40).text("call"), 8).real(4), 24.0F);

    EXPECT_EQ(tell(VOLUME, Message(34).text("call").step(149)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(VOLUME, Message(39).text("call").real(24.1F)), AUDIO_BAD_VALUE);
    for (const std::string& type : {std::string(), std::string("Media"), std::string(64, 'x')}) {
        EXPECT_EQ(tell(VOLUME, Message(34).text(type).step(100)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(VOLUME, Message(39).text(type).real(0)), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(VOLUME, Message(35).text(type), 8).status(), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(VOLUME, Message(40).text(type), 8).status(), AUDIO_BAD_VALUE);
    }
}

TEST_F(SettingsConnection, MutesPathsForEachOption) {
    const auto muted = [&](std::uint32_t path) {
        return ask(VOLUME, Message(33).word(path), 8).byte(4);
    };
    for (const std::uint32_t path : {1U, 2U, 4U, 8U})
        EXPECT_EQ(muted(path), 0U);
    EXPECT_EQ(tell(VOLUME, Message(8).word(1 + 8).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(muted(1), 1U);
    EXPECT_EQ(muted(2), 0U);
    EXPECT_EQ(muted(8), 1U);
    EXPECT_EQ(tell(VOLUME, Message(9).word(1).number(0)), AUDIO_NO_ERROR);
    EXPECT_EQ(muted(1), 0U);
    EXPECT_EQ(muted(8), 1U);
    for (const std::uint32_t path : {0U, 16U, 17U}) {
        EXPECT_EQ(tell(VOLUME, Message(8).word(path).number(1)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(VOLUME, Message(9).word(path).number(1)), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(VOLUME, Message(33).word(path), 8).status(), AUDIO_BAD_VALUE);
    }
    EXPECT_EQ(ask(VOLUME, Message(33).word(3), 8).status(), AUDIO_BAD_VALUE) << "two paths";
}

TEST_F(SettingsConnection, HasARampInMilliseconds) {
    const Answer first = ask(VOLUME, Message(45), 12);
    EXPECT_EQ(first.real(4), 20.0F);
    EXPECT_EQ(first.real(8), 20.0F);
    EXPECT_EQ(tell(VOLUME, Message(44).real(0.0F).real(10000.0F)), AUDIO_NO_ERROR);
    for (const float wrong : {-0.1F, 10000.5F, NOT_A_NUMBER, INFINITE}) {
        EXPECT_EQ(tell(VOLUME, Message(44).real(wrong).real(1.0F)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(VOLUME, Message(44).real(1.0F).real(wrong)), AUDIO_BAD_VALUE);
    }
    const Answer second = ask(VOLUME, Message(45), 12);
    EXPECT_EQ(second.real(4), 0.0F);
    EXPECT_EQ(second.real(8), 10000.0F);
}

TEST_F(SettingsConnection, HasGainsOfTheUplinkAndOfTwoInputs) {
    EXPECT_EQ(ask(VOLUME, Message(15), 8).real(4), 0.0F);
    EXPECT_EQ(tell(VOLUME, Message(14).real(-103.5F)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(VOLUME, Message(14).real(24.5F)), AUDIO_BAD_VALUE);
    EXPECT_EQ(ask(VOLUME, Message(15), 8).real(4), -103.5F);

    for (const std::uint32_t set : {10U, 12U}) {
        for (const std::uint32_t input : {0U, 1U}) {
            const float left = static_cast<float>(set + input);
            EXPECT_EQ(ask(VOLUME, Message(set + 1).word(input), 12).real(4), 0.0F);
            EXPECT_EQ(tell(VOLUME, Message(set).word(input).real(left).real(-24.0F)),
                      AUDIO_NO_ERROR);
            const Answer answer = ask(VOLUME, Message(set + 1).word(input), 12);
            EXPECT_EQ(answer.real(4), left);
            EXPECT_EQ(answer.real(8), -24.0F);
        }
        EXPECT_EQ(tell(VOLUME, Message(set).word(2).real(0).real(0)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(VOLUME, Message(set).word(0).real(46.5F).real(0)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(VOLUME, Message(set).word(0).real(0).real(NOT_A_NUMBER)), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(VOLUME, Message(set + 1).word(2), 12).status(), AUDIO_BAD_VALUE);
    }
}

// ---- Calibration --------------------------------------------------------------------------------

Answer calibration(SettingsClients& clients) {
    return clients.ask(VOLUME, Message(42), 12);
}

float calibrate(SettingsClients& clients) {
    EXPECT_EQ(clients.tell(VOLUME, Message(41)), AUDIO_NO_ERROR);
    for (int i = 0; i < 6000 && calibration(clients).number(8) == 1; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(calibration(clients).number(8), 0);
    return calibration(clients).real(4);
}

TEST(MicrophoneCalibration, TakesAtLeast400Milliseconds) {
    const RealServer server({"--output", "null"});
    SettingsClients clients;
    EXPECT_EQ(calibration(clients).number(8), -1) << "never started";
    EXPECT_EQ(calibration(clients).real(4), 0.0F);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(clients.tell(VOLUME, Message(41)), AUDIO_NO_ERROR);
    EXPECT_EQ(clients.tell(VOLUME, Message(41)), AUDIO_NO_ERROR) << "it goes on";
    calibrate(clients);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(400));
}

TEST(MicrophoneCalibration, ReportsTheGainToTwentyDecibelsBelowFullScale) {
    {
        const RealServer server({"--output", "null", "--input", "uplink=tone:500"});
        SettingsClients clients;
        // A sine of half full scale is 9.03 dB below it.
        EXPECT_NEAR(calibrate(clients), -20.0 - 20 * std::log10(0.5 / std::sqrt(2.0)), 0.05);
        EXPECT_NEAR(calibrate(clients), -10.97, 0.05) << "again";
    }
    const RealServer server({"--output", "null", "--input", "uplink=silence"});
    SettingsClients clients;
    EXPECT_EQ(calibrate(clients), 46.0F);
}

// ---- Sources ------------------------------------------------------------------------------------

std::string outputSource(SettingsClients& clients, const char* tag) {
    return clients.ask(SOURCE, Message(24).text(tag), 68).text(4);
}

TEST_F(SettingsConnection, SelectsTheSourceOfTheMainOutputByName) {
    EXPECT_EQ(outputSource(clients, "main"), "");
    RawClient radio(AUDIO_CONNECT_MAIN, "radio");
    ASSERT_EQ(radio.create(0, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    RawClient music(AUDIO_CONNECT_MAIN, "music");
    ASSERT_EQ(music.create(0, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(outputSource(clients, "main"), "music") << "the newest one";
    EXPECT_EQ(radio.notification().event, 3U);
    EXPECT_EQ(radio.notification().event, 4U);
    EXPECT_EQ(radio.status(wire::StreamFunction::SourceDeactivated), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(14).text("main").text("radio")), AUDIO_NO_ERROR);
    EXPECT_EQ(radio.notification().event, 3U);
    EXPECT_EQ(outputSource(clients, "main"), "radio");
}

TEST_F(SettingsConnection, RemembersASourceThatDoesNotExist) {
    EXPECT_EQ(tell(SOURCE, Message(14).text("main").text("radio")), AUDIO_NO_ERROR);
    EXPECT_EQ(outputSource(clients, "main"), "radio");
    RawClient radio(AUDIO_CONNECT_MAIN, "radio");
    ASSERT_EQ(radio.create(0, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(radio.notification().event, 3U);
    EXPECT_EQ(outputSource(clients, "main"), "radio");

    const std::string longest(63, 'x');
    EXPECT_EQ(tell(SOURCE, Message(14).text("alternative").text(longest)), AUDIO_NO_ERROR);
    EXPECT_EQ(outputSource(clients, "alternative"), longest);
    EXPECT_EQ(outputSource(clients, "auxiliary"), "");
    for (const char* tag : {"", "front", "uplink"}) {
        EXPECT_EQ(tell(SOURCE, Message(14).text(tag).text("radio")), AUDIO_BAD_VALUE);
        const Answer answer = ask(SOURCE, Message(24).text(tag), 68);
        EXPECT_EQ(answer.status(), AUDIO_BAD_VALUE);
        EXPECT_TRUE(answer.isZeroFrom(4));
    }
}

TEST_F(SettingsConnection, HasADestinationOfTheUplink) {
    EXPECT_EQ(ask(SOURCE, Message(25).text("uplink"), 68).text(4), "telephone");
    EXPECT_EQ(tell(SOURCE, Message(15).text("uplink").text("recorder")), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(SOURCE, Message(25).text("uplink"), 68).text(4), "recorder");
    EXPECT_EQ(tell(SOURCE, Message(15).text("main").text("recorder")), AUDIO_BAD_VALUE);
    EXPECT_EQ(ask(SOURCE, Message(25).text("main"), 68).status(), AUDIO_BAD_VALUE);
}

TEST_F(SettingsConnection, LogsItsLists) {
    RawClient radio(AUDIO_CONNECT_MAIN, "radio");
    ASSERT_EQ(radio.create(0, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(16).text("main")), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(16).text("auxiliary")), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(17).text("uplink")), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(16).text("front")), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(SOURCE, Message(17).text("main")), AUDIO_BAD_VALUE);
    EXPECT_THAT(server.output(), HasSubstr("sources of main: \"radio\" idle heard\n"));
    EXPECT_THAT(server.output(), HasSubstr("sources of auxiliary: none\n"));
    EXPECT_THAT(server.output(), HasSubstr("destination of uplink: \"telephone\"\n"));
}

class StartedStreams : public SettingsConnection {
protected:
    void SetUp() override {
        ASSERT_EQ(radio.create(0, pcm(44100, 2, 24)).status, AUDIO_NO_ERROR);
        ASSERT_EQ(prompt.create(2, pcm(16000, 1, 16)).status, AUDIO_NO_ERROR);
        ASSERT_EQ(alarm.call<wire::CreateReply>(alarmRequest()).status, AUDIO_NO_ERROR);
        ASSERT_EQ(prompt.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
        ASSERT_EQ(alarm.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    }
    static wire::CreateRequest alarmRequest() {
        wire::CreateRequest request = {};
        request.function = static_cast<std::uint32_t>(wire::StreamFunction::Create);
        request.tag = 2;
        request.format = pcm(48000, 6, 32);
        request.streamParam = 5;
        return request;
    }

    RawClient radio{AUDIO_CONNECT_MAIN, "radio, which has a name that is rather long"};
    RawClient prompt{AUDIO_CONNECT_AUXILIARY, "prompt"};
    RawClient alarm{AUDIO_CONNECT_AUXILIARY, "alarm"};
};

TEST_F(StartedStreams, AreCountedAndNamedWhileTheyAreStarted) {
    EXPECT_EQ(ask(SOURCE, Message(26).text("auxiliary"), 8).number(4), 2);
    EXPECT_EQ(ask(SOURCE, Message(26).text("main"), 8).number(4), 0);
    EXPECT_EQ(ask(SOURCE, Message(26).text("Main"), 8).status(), AUDIO_BAD_VALUE);
    const Answer names = ask(SOURCE, Message(36).text("auxiliary"), 2056);
    EXPECT_EQ(names.number(4), 2);
    EXPECT_EQ(names.text(8), "prompt");
    EXPECT_EQ(names.text(8 + 64), "alarm");
    EXPECT_TRUE(names.isZeroFrom(8 + 2 * 64));
    const Answer refused = ask(SOURCE, Message(36).text("front"), 2056);
    EXPECT_EQ(refused.status(), AUDIO_BAD_VALUE);
    EXPECT_TRUE(refused.isZeroFrom(4));
    ASSERT_EQ(prompt.status(wire::StreamFunction::Stop), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(SOURCE, Message(36).text("auxiliary"), 2056).text(8), "alarm");
}

TEST_F(StartedStreams, HaveTheTypesOfTheirParameters) {
    const auto type = [&](const char* tag, const char* name) {
        return ask(SOURCE, Message(35).text(tag).text(name), 68);
    };
    EXPECT_EQ(type("auxiliary", "prompt").text(4), "system");
    EXPECT_EQ(type("auxiliary", "alarm").text(4), "alarm");
    EXPECT_EQ(type("main", "prompt").status(), AUDIO_BAD_VALUE);
    EXPECT_EQ(type("auxiliary", "nobody").status(), AUDIO_BAD_VALUE);
    EXPECT_TRUE(type("auxiliary", "nobody").isZeroFrom(4));
}

TEST_F(StartedStreams, AreDescribedInLists) {
    const Answer tracks = ask(SOURCE, Message(38), 6408);
    EXPECT_EQ(tracks.number(4), 2);
    const std::size_t second = 8 + 200;
    EXPECT_EQ(tracks.text(second), "auxiliary");
    EXPECT_EQ(tracks.text(second + 64), "alarm");
    EXPECT_EQ(tracks.text(second + 128), "alarm");
    EXPECT_EQ(tracks.word(second + 192), 48000U);
    EXPECT_EQ(tracks.word(second + 196), 6U);
    EXPECT_TRUE(tracks.isZeroFrom(8 + 400));

    const Answer outputs = ask(SOURCE, Message(32).word(3), 1048);
    EXPECT_EQ(outputs.number(4), 3);
    EXPECT_EQ(outputs.text(8), "radio, which has a name that is") << "31 bytes";
    EXPECT_EQ(outputs.word(8 + 32), 0U);
    EXPECT_EQ(outputs.word(8 + 36), 44100U);
    EXPECT_EQ(outputs.word(8 + 40), 2U);
    EXPECT_EQ(outputs.word(8 + 44), 24U);
    EXPECT_EQ(outputs.word(8 + 48), 0U) << "not started";
    EXPECT_EQ(outputs.word(8 + 52 + 48), 1U);
    EXPECT_EQ(ask(SOURCE, Message(32).word(1), 1048).number(4), 1);
    EXPECT_EQ(ask(SOURCE, Message(32).word(2), 1048).text(8), "prompt");
    for (const std::uint32_t outputsOfNothing : {0U, 4U, 7U})
        EXPECT_EQ(ask(SOURCE, Message(32).word(outputsOfNothing), 1048).status(), AUDIO_BAD_VALUE);
}

TEST_F(SettingsConnection, ListsNoMoreStreamsThanAReplyHolds) {
    std::vector<std::unique_ptr<RawClient>> streams;
    for (int i = 0; i < 40; ++i) {
        streams.push_back(
            std::make_unique<RawClient>(AUDIO_CONNECT_AUXILIARY, "stream" + std::to_string(i)));
        ASSERT_EQ(streams.back()->create(2, pcm(8000, 1, 16)).status, AUDIO_NO_ERROR);
        ASSERT_EQ(streams.back()->status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    }
    EXPECT_EQ(ask(SOURCE, Message(26).text("auxiliary"), 8).number(4), 40);
    EXPECT_EQ(ask(SOURCE, Message(36).text("auxiliary"), 2056).number(4), 32);
    EXPECT_EQ(ask(SOURCE, Message(38), 6408).number(4), 32);
    EXPECT_EQ(ask(SOURCE, Message(32).word(2), 1048).number(4), 20);
}

TEST_F(SettingsConnection, RemembersConvertersAndBuses) {
    for (const std::int32_t input : {0, 1}) {
        EXPECT_EQ(tell(SOURCE, Message(5).number(input).number(7 + input)), AUDIO_NO_ERROR);
        EXPECT_EQ(ask(SOURCE, Message(6).number(input), 8).number(4), 7 + input);
    }
    for (const std::int32_t input : {-1, 2}) {
        EXPECT_EQ(tell(SOURCE, Message(5).number(input).number(7)), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(SOURCE, Message(6).number(input), 8).status(), AUDIO_BAD_VALUE);
    }
    const std::pair<std::uint32_t, std::size_t> mappings[] = {{8, 6}, {10, 8}};
    for (const auto& [set, entries] : mappings) {
        const std::size_t size = 4 + 4 * entries;
        Message mapping(set);
        Message wrong(set);
        for (std::size_t i = 0; i < entries; ++i) {
            EXPECT_EQ(ask(SOURCE, Message(set + 1), size).number(4 + 4 * i),
                      static_cast<std::int32_t>(i));
            mapping.number(i == 0 ? -1 : 10);
            wrong.number(i == 0 ? 11 : 0);
        }
        EXPECT_EQ(tell(SOURCE, mapping), AUDIO_NO_ERROR);
        EXPECT_EQ(tell(SOURCE, wrong), AUDIO_BAD_VALUE);
        const Answer answer = ask(SOURCE, Message(set + 1), size);
        EXPECT_EQ(answer.number(4), -1);
        EXPECT_EQ(answer.number(size - 4), 10);
    }
}

TEST_F(SettingsConnection, RemembersSettingsWithoutGetter) {
    EXPECT_EQ(tell(SOURCE, Message(2).number(3).number(9)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(3).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(4).number(2)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(12).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(20).word(1).word(2).word(3).word(4).word(5)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(21).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(27).number(30)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(28).number(5)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(28).number(6)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(SOURCE, Message(28).number(-1)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(SOURCE, Message(30).word(1).word(77).word(88)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(SOURCE, Message(34).number(0)), AUDIO_NO_ERROR);
    const json source = state().at("source");
    EXPECT_EQ(source.at("seat_sources"), json({{"3", 9}}));
    EXPECT_EQ(source.at("front_state"), 1);
    EXPECT_EQ(source.at("rear_state"), 2);
    EXPECT_EQ(source.at("adc_switched"), true);
    EXPECT_EQ(source.at("pcm_interface"), json({1, 2, 3, 4, 5}));
    EXPECT_EQ(source.at("pcm_interface_enabled"), true);
    EXPECT_EQ(source.at("handsfree_delay"), 30);
    EXPECT_EQ(source.at("sample_rate_capability"), 5);
    EXPECT_EQ(source.at("i2s_formats"), json({{"1", {77, 88}}}));
    EXPECT_EQ(source.at("auto_ramp"), false);
}

TEST_F(SettingsConnection, SelectsAndTestsLoudspeakers) {
    EXPECT_EQ(ask(SOURCE, Message(23), 8).number(4), 0x3F);
    EXPECT_EQ(tell(SOURCE, Message(22).word(5)), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(SOURCE, Message(23), 8).number(4), 5);
    EXPECT_EQ(tell(SOURCE, Message(22).word(64)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(SOURCE, Message(22).word(0)), AUDIO_NO_ERROR) << "none";

    for (const std::int32_t pattern : {1, 2, 0})
        EXPECT_EQ(tell(SOURCE, Message(18).word(3).number(pattern)), AUDIO_NO_ERROR);
    for (const std::int32_t pattern : {-1, 3})
        EXPECT_EQ(tell(SOURCE, Message(18).word(3).number(pattern)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(SOURCE, Message(18).word(64).number(1)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(SOURCE, Message(18).word(0).number(1)), AUDIO_NO_ERROR) << "ends it";
    for (const std::int32_t frequency : {1, 47999})
        EXPECT_EQ(tell(SOURCE, Message(19).word(1).number(frequency)), AUDIO_NO_ERROR);
    for (const std::int32_t frequency : {-1, 0, 48000})
        EXPECT_EQ(tell(SOURCE, Message(19).word(1).number(frequency)), AUDIO_BAD_VALUE);
}

// ---- Application settings -----------------------------------------------------------------------

TEST_F(SettingsConnection, HasADelayForEachLoudspeaker) {
    EXPECT_EQ(ask(APP, Message(23).word(1), 8).real(4), 0.0F);
    EXPECT_EQ(tell(APP, Message(22).word(1 + 8).number(12345)), AUDIO_NO_ERROR);
    EXPECT_FLOAT_EQ(ask(APP, Message(23).word(1), 8).real(4), 12.345F);
    EXPECT_FLOAT_EQ(ask(APP, Message(23).word(8), 8).real(4), 12.345F);
    EXPECT_EQ(ask(APP, Message(23).word(2), 8).real(4), 0.0F);
    for (const std::int32_t us : {-1, 1000001})
        EXPECT_EQ(tell(APP, Message(22).word(1).number(us)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(APP, Message(22).word(1).number(1000000)), AUDIO_NO_ERROR);
    for (const std::uint32_t channel : {0U, 64U}) {
        EXPECT_EQ(tell(APP, Message(22).word(channel).number(1)), AUDIO_BAD_VALUE);
        EXPECT_EQ(ask(APP, Message(23).word(channel), 8).status(), AUDIO_BAD_VALUE);
    }
}

TEST_F(SettingsConnection, RemembersTheNumbersOfCalls) {
    for (const std::uint32_t set : {24U, 40U, 42U}) {
        EXPECT_EQ(ask(APP, Message(set + 1), 8).number(4), 0);
        EXPECT_EQ(tell(APP, Message(set).number(-7)), AUDIO_NO_ERROR);
        EXPECT_EQ(ask(APP, Message(set + 1), 8).number(4), -7);
    }
    EXPECT_EQ(tell(APP, Message(29)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(APP, Message(48).word(11)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(APP, Message(50).number(4)), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("app").at("bypass"), true);
    EXPECT_EQ(state().at("app").at("dac_gain"), 11);
    EXPECT_EQ(state().at("app").at("reverb_mode"), 4);
    EXPECT_EQ(tell(APP, Message(30)), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("app").at("bypass"), false);
}

TEST_F(SettingsConnection, RemembersWholeRecordsByTheirSelector) {
    const std::pair<std::uint32_t, std::size_t> records[] = {{35, 564}, {44, 16}, {46, 104}};
    for (const auto& [set, size] : records) {
        const Answer unset = ask(APP, Message(set + 1).word(3), 4 + size);
        EXPECT_EQ(unset.status(), AUDIO_NO_ERROR);
        EXPECT_EQ(unset.word(4), 3U);
        EXPECT_TRUE(unset.isZeroFrom(8));
        Message record = Message(set).word(3);
        while (record.bytes().size() < 4 + size)
            record.word(static_cast<std::uint32_t>(record.bytes().size()) * 0x01010101U);
        EXPECT_EQ(tell(APP, record), AUDIO_NO_ERROR);
        const Bytes sent(record.bytes().begin() + 4, record.bytes().end());
        EXPECT_EQ(ask(APP, Message(set + 1).word(3), 4 + size).from(4), sent);
        EXPECT_TRUE(ask(APP, Message(set + 1).word(4), 4 + size).isZeroFrom(8)) << "another one";
    }
}

TEST_F(SettingsConnection, MeasuresZeroWithoutSound) {
    EXPECT_TRUE(ask(APP, Message(11), 20).isZeroFrom(0));
    EXPECT_TRUE(ask(APP, Message(34), 20).isZeroFrom(0));
    EXPECT_TRUE(ask(SOURCE, Message(37).number(0), 8).isZeroFrom(0));
    EXPECT_EQ(ask(SOURCE, Message(37).number(1), 8).status(), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(APP, Message(37)), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(APP, Message(38), 8).number(4), 0);
}

// The tone has a peak of 0.1, and the output two loudspeakers.
TEST_F(SettingsConnection, MeasuresASoundingTone) {
    ASSERT_EQ(tell(SOURCE, Message(19).word(1).number(500)), AUDIO_NO_ERROR);
    for (int i = 0; i < 600 && ask(APP, Message(34), 20).word(4) < 70000; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const Answer energy = ask(APP, Message(34), 20);
    EXPECT_NEAR(energy.word(4), 70711, 700);
    EXPECT_TRUE(energy.isZeroFrom(8)) << "the other loudspeakers";
    const Answer spectrum = ask(APP, Message(11), 20);
    EXPECT_NEAR(spectrum.word(8), 50000, 500) << "250 Hz to 1 kHz";
    for (const std::size_t other : {4U, 12U, 16U})
        EXPECT_LT(spectrum.word(other), 1000U);
    EXPECT_NEAR(ask(SOURCE, Message(37).number(0), 8).word(4), 70711, 700);
}

TEST_F(StartedStreams, HaveADelayOfAtLeastOnePeriod) {
    EXPECT_EQ(tell(APP, Message(37)), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(APP, Message(38), 8).number(4), 16) << "the rings are empty";
}

// ---- Mixer --------------------------------------------------------------------------------------

TEST_F(SettingsConnection, HasMixerGainsInStepsAndInDecibels) {
    const std::pair<const char*, std::pair<std::uint32_t, std::uint32_t>> gains[] = {
        {"navigation_db", {4, 8}}, {"alternative_db", {7, 10}}};
    for (const auto& [key, ids] : gains) {
        EXPECT_EQ(state().at("mixer").at(key), json({0, 0, 0, 0}));
        EXPECT_EQ(tell(MIXER, Message(ids.first).word(0).word(0x64320A00U)), AUDIO_NO_ERROR);
        EXPECT_EQ(state().at("mixer").at(key), json({-103.5, -45, -25, 0}));
        EXPECT_EQ(tell(MIXER, Message(ids.first).word(0).word(0x65000000U)), AUDIO_BAD_VALUE);
        EXPECT_EQ(tell(MIXER, Message(ids.second).word(0).real(-1).real(-2).real(-3).real(-103.5F)),
                  AUDIO_NO_ERROR);
        EXPECT_EQ(state().at("mixer").at(key), json({-1, -2, -3, -103.5}));
        for (const float wrong : {0.5F, -104.0F, NOT_A_NUMBER}) {
            EXPECT_EQ(tell(MIXER, Message(ids.second).word(0).real(0).real(0).real(0).real(wrong)),
                      AUDIO_BAD_VALUE);
        }
    }
}

TEST_F(SettingsConnection, HasMixerModes) {
    EXPECT_EQ(ask(MIXER, Message(12), 8).number(4), 0);
    EXPECT_EQ(tell(MIXER, Message(2).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(ask(MIXER, Message(12), 8).number(4), 1);
    EXPECT_EQ(tell(MIXER, Message(2).number(2)), AUDIO_BAD_VALUE);
    EXPECT_EQ(tell(MIXER, Message(3).number(0)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(MIXER, Message(3).number(2)), AUDIO_BAD_VALUE);
    EXPECT_EQ(state().at("mixer").at("navigation_mode"), 0);
    EXPECT_EQ(tell(MIXER, Message(11).number(3).number(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(tell(MIXER, Message(11).number(1).number(0)), AUDIO_NO_ERROR);
    EXPECT_EQ(state().at("mixer").at("hardware_mix"), 2);
    EXPECT_EQ(tell(MIXER, Message(11).number(65534).number(1)), AUDIO_NO_ERROR);
    for (const std::int32_t channel : {-1, 0, 65535})
        EXPECT_EQ(tell(MIXER, Message(11).number(channel).number(1)), AUDIO_BAD_VALUE);
}

// ---- Effects ------------------------------------------------------------------------------------

Bytes pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256 + 1);
    return bytes;
}

struct EffectStore {
    audio_connect_type type;
    std::uint32_t set, get;
    const char* tag;
    const char* foreignTag;
};

constexpr EffectStore STORES[] = {{APP, 4098, 4099, "main", "uplink"},
                                  {RECORD, 0, 1, "uplink", "main"}};

TEST_F(SettingsConnection, ReturnsEffectsOfAllSizes) {
    for (const EffectStore& store : STORES) {
        const auto get = [&](std::size_t size) {
            return ask(store.type,
                       Message(store.get).text(store.tag).text("reverb").block(Bytes(size)),
                       8 + size);
        };
        for (const std::size_t size : {1U, 2U, 3U, 4U, 12U, 1000U, 4096U, 32767U, 32768U}) {
            SCOPED_TRACE(size);
            const Bytes parameter = pattern(size);
            ASSERT_EQ(tell(store.type,
                           Message(store.set).text(store.tag).text("reverb").block(parameter)),
                      AUDIO_NO_ERROR);
            const Answer answer = get(size);
            EXPECT_EQ(answer.status(), AUDIO_NO_ERROR);
            EXPECT_EQ(answer.word(4), size);
            EXPECT_EQ(answer.from(8), parameter);
            EXPECT_EQ(get(0).word(4), size) << "a request without room gets the size";

            const Answer larger = get(size + 1);
            EXPECT_EQ(larger.status(), AUDIO_BAD_VALUE);
            EXPECT_EQ(larger.word(4), size + 1);
            EXPECT_TRUE(larger.isZeroFrom(8));
        }
        EXPECT_EQ(
            tell(store.type, Message(store.set).text(store.tag).text("reverb").block(Bytes(32769))),
            AUDIO_BAD_VALUE);
        EXPECT_EQ(get(32768).from(8), pattern(32768));
    }
}

TEST_F(SettingsConnection, ShowsAllEffectsInTheState) {
    for (int i = 0; i < 40; ++i) {
        const std::string name = "effect" + std::to_string(i);
        ASSERT_EQ(tell(APP, Message(4098).text("main").text(name).block(pattern(32768))),
                  AUDIO_NO_ERROR);
    }
    const json effects = state().at("app").at("effects");
    EXPECT_EQ(effects.size(), 40U);
    for (const json& effect : effects)
        EXPECT_EQ(effect.at("parameter").get<std::string>().size(), 65536U);
}

TEST_F(SettingsConnection, KeepsEffectsApartByTagAndName) {
    for (const EffectStore& store : STORES) {
        const auto get = [&](const char* tag, const char* name) {
            return ask(store.type, Message(store.get).text(tag).text(name).block(Bytes(4)), 12);
        };
        EXPECT_TRUE(get(store.tag, "echo").isZeroFrom(8)) << "never set";
        EXPECT_EQ(get(store.tag, "echo").status(), AUDIO_NO_ERROR);
        EXPECT_EQ(
            tell(store.type, Message(store.set).text(store.tag).text("echo").block({1, 2, 3, 4})),
            AUDIO_NO_ERROR);
        EXPECT_EQ(get(store.tag, "echo").from(8), (Bytes{1, 2, 3, 4}));
        EXPECT_TRUE(get(store.tag, "other").isZeroFrom(8));
        for (const char* tag : {"", store.foreignTag, "front"}) {
            EXPECT_EQ(tell(store.type, Message(store.set).text(tag).text("echo").block(Bytes(4))),
                      AUDIO_BAD_VALUE);
            EXPECT_EQ(get(tag, "echo").status(), AUDIO_BAD_VALUE);
        }
        EXPECT_EQ(get(store.tag, "").status(), AUDIO_BAD_VALUE) << "no name";
    }
}

TEST_F(SettingsConnection, IsClosedWhenAnEffectIsShorterThanItsSize) {
    for (const EffectStore& store : STORES) {
        for (const std::uint32_t function : {store.set, store.get}) {
            for (const std::uint32_t size : {5U, 0xFFFFFFFFU, 0xFFFFFF80U}) {
                RawClient client(store.type, "unkn");
                const Message request =
                    Message(function).text(store.tag).text("echo").word(size).filledTo(140);
                Bytes message = bytesOf(client.requestHeader(140));
                message.insert(message.end(), request.bytes().begin(), request.bytes().end());
                client.send(message);
                EXPECT_TRUE(client.isClosedByServer()) << size;
            }
        }
    }
}

TEST_F(SettingsConnection, SwitchesEffects) {
    const auto isOn = [&](const char* name) {
        return ask(APP, Message(4097).text("main").text(name), 8).byte(4);
    };
    EXPECT_EQ(isOn("reverb"), 0U);
    EXPECT_EQ(tell(APP, Message(4096).text("main").text("reverb").step(1)), AUDIO_NO_ERROR);
    EXPECT_EQ(isOn("reverb"), 1U);
    EXPECT_EQ(isOn("echo"), 0U);
    EXPECT_EQ(tell(APP, Message(4096).text("main").text("reverb").step(0)), AUDIO_NO_ERROR);
    EXPECT_EQ(isOn("reverb"), 0U);
    EXPECT_EQ(tell(APP, Message(4096).text("uplink").text("reverb").step(1)), AUDIO_BAD_VALUE);
    EXPECT_EQ(ask(APP, Message(4097).text("uplink").text("reverb"), 8).status(), AUDIO_BAD_VALUE);
}

// ---- Trace --------------------------------------------------------------------------------------

TEST(SettingsTrace, NamesFunctionsArgumentsAndResults) {
    RealServer server({"--output", "null", "--trace"});
    SettingsClients clients;
    clients.tell(VOLUME, Message(20).real(-6.5F));
    clients.ask(VOLUME, Message(5), 8);
    clients.tell(VOLUME, Message(6).word(5).step(100));
    clients.tell(VOLUME, Message(8).word(9).number(1));
    clients.tell(VOLUME, Message(24).text("main").text("radio").real(99.0F));
    clients.ask(VOLUME, Message(36), 2056);
    clients.tell(APP, Message(4098).text("main").text("reverb").block({1, 2, 3}));
    clients.ask(APP, Message(4099).text("main").text("reverb").block({0, 0, 0}), 11);
    server.stop();  // a line is written behind the answer
    for (const char* line :
         {"volume \"unkn\" setMasterVolume(-6.5 dB) -> ok [", "getMasterVolume() -> ok, step 87 [",
          "setChannelGain(LF+LS, step 100) -> ok [", "mute(main+auxiliary, option 1) -> ok [",
          "setTrackVolume(main \"radio\", 99 dB) -> bad value [",
          "getStreamTypeList() -> ok, \"media\", \"navigation\", \"call\"",
          "app \"unkn\" setEffectParameter(main \"reverb\", 3 bytes) -> ok [",
          "getEffectParameter(main \"reverb\", 3 bytes) -> ok, 3 bytes ["})
        EXPECT_THAT(server.output(), HasSubstr(line));
}

}  // namespace
}  // namespace cabinaudio::test
