// SPDX-License-Identifier: Apache-2.0
// Conversations as lines of text and of JSON.
#include <cabinaudio/foundation/AudioConnectType.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/trace/ConnectType.h"
#include "devkit/trace/Conversations.h"
#include "devkit/trace/Filter.h"
#include "devkit/trace/Json.h"
#include "devkit/trace/Text.h"
#include "devkit/trace/WireFields.h"
#include "devkit/trace/Words.h"
#include "tests/trace/Messages.h"
#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace cabinaudio::test {

namespace {

using testing::ElementsAre;
using trace::Happening;
using trace::Kind;
using trace::Record;
using Json = nlohmann::ordered_json;

constexpr std::uint32_t VOLUME = AUDIO_CONNECT_VOLUME_SETTING;
constexpr std::uint32_t SET_GAIN = 20;
const wire::GainRequest TO_MINUS_3 = {SET_GAIN, -3.0F};

std::vector<Happening> happeningsOf(const std::vector<Record>& records) {
    trace::Conversations conversations;
    std::vector<Happening> all;
    for (const Record& record : records)
        for (Happening& happening : conversations.add(record))
            all.push_back(std::move(happening));
    for (Happening& happening : conversations.end())
        all.push_back(std::move(happening));
    return all;
}

/// Behind a registration of the name "knob" as number 5.
std::vector<Record> registered(std::uint32_t type, const std::vector<Record>& more) {
    std::vector<Record> records = {recordOf(Kind::Connected), registration(type, "knob"),
                                   registrationReply(type, 5)};
    records.insert(records.end(), more.begin(), more.end());
    return records;
}

std::vector<std::string> textsOf(const std::vector<Record>& records) {
    std::vector<std::string> lines;
    for (const Happening& happening : happeningsOf(records))
        if (auto line = textOf(happening, happening.timeNs - 1'500'000'000); !line.empty())
            lines.push_back(line);
    return lines;
}

/// The last line behind a registration, without time and client.
std::string lastText(std::uint32_t type, const std::vector<Record>& records) {
    const std::string line = textsOf(registered(type, records)).back();
    const std::string client = "knob\" ";
    return line.substr(line.find(client) + client.size());
}

Json lastJson(std::uint32_t type, const std::vector<Record>& records) {
    return jsonOf(happeningsOf(registered(type, records)).back());
}

TEST(TraceText, HasOneLineForEachRequestWithItsReply) {
    EXPECT_THAT(textsOf(registered(VOLUME, {request(VOLUME, TO_MINUS_3),
                                            reply(VOLUME, SET_GAIN, wire::StatusReply{0}),
                                            recordOf(Kind::Disconnected)})),
                ElementsAre("   1.500000 #5 volume \"knob\" registered",
                            "   1.500000 #5 volume \"knob\" setMasterVolume(-3 dB) -> ok [14 us]",
                            "   1.500000 #5 volume \"knob\" disconnected"));
}

TEST(TraceText, BeginsWithTheDateWhenAsked) {
    const auto happenings = happeningsOf({registration(VOLUME, "knob")});
    EXPECT_EQ(textOf(happenings.front(), std::nullopt),
              "2023-11-14T22:13:20.000000000Z #0 volume \"knob\" registers -> no reply");
}

TEST(TraceText, NamesWhatIsNotAnswered) {
    const Record asked = request(VOLUME, TO_MINUS_3);
    EXPECT_EQ(lastText(VOLUME, {asked}), "setMasterVolume(-3 dB) -> no reply");
    const auto lines = textsOf(registered(VOLUME, {asked, recordOf(Kind::Disconnected)}));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[1], testing::EndsWith("-> no reply"));
    EXPECT_THAT(lines[2], testing::EndsWith("disconnected"));
}

TEST(TraceText, NamesRefusedUnknownAndDamagedMessages) {
    EXPECT_EQ(lastText(VOLUME, {request(VOLUME, TO_MINUS_3),
                                reply(VOLUME, SET_GAIN, wire::StatusReply{AUDIO_BAD_VALUE})}),
              "setMasterVolume(-3 dB) -> bad value [14 us]");
    const wire::FunctionRequest unknown = {999};
    EXPECT_EQ(lastText(VOLUME, {request(VOLUME, unknown),
                                reply(VOLUME, 999, wire::StatusReply{AUDIO_INVALID_OPERATION})}),
              "function 999 -> invalid operation");
    const wire::FunctionRequest noGain = {SET_GAIN};
    EXPECT_EQ(lastText(VOLUME, {request(VOLUME, noGain)}),
              "setMasterVolume(4 bytes, too short) -> no reply");
    const wire::FunctionRequest get = {21};
    EXPECT_EQ(lastText(VOLUME, {request(VOLUME, get), reply(VOLUME, 21, std::uint32_t{0})}),
              "getMasterVolume() -> ok, 4 of 8 bytes [14 us]");
    EXPECT_EQ(lastText(VOLUME, {request(VOLUME, get), reply(VOLUME, 21, std::uint8_t{0})}),
              "getMasterVolume() -> a reply of 1 bytes");
    Record wrong = reply(VOLUME, 21, wire::GainReply{0, 0});
    wrong.bytes[0] ^= 0xFF;
    EXPECT_EQ(lastText(VOLUME, {request(VOLUME, get), wrong}),
              "getMasterVolume() -> ok, 0 dB [14 us], magic word 0x001122cc");
    Record half = recordOf(Kind::ToServer);
    half.bytes.resize(40);
    EXPECT_EQ(lastText(VOLUME, {half}), "sends 40 bytes that are no message");
    EXPECT_EQ(lastText(VOLUME, {wrong}), "<- 40 bytes that answer no request");
}

TEST(TraceText, NamesRingsSoundNotificationsAndLosses) {
    constexpr std::uint32_t TRACK = AUDIO_CONNECT_AUXILIARY;
    EXPECT_EQ(lastText(TRACK, {notification(TRACK, 3)}), "<- ring ready");
    using trace::RingSummary;
    EXPECT_EQ(lastText(TRACK, {recordWith(Kind::Ring, TRACK,
                                          RingSummary{2, 16, 3072, 6144, 0, 100, 4096})}),
              "ring: 16 reads of 3072 bytes, up to byte 6144; 100 of 4096 bytes queued");
    EXPECT_EQ(lastText(TRACK, {recordWith(Kind::Ring, TRACK, RingSummary{4, 2, 0, 0, 70, 0, 0})}),
              "ring: 2 waits, the longest of 70 us");
    EXPECT_EQ(lastText(TRACK, {recordWith(Kind::Ring, TRACK, RingSummary{9, 2, 0, 0, 0, 0, 0})}),
              "ring: event 9, 2 times");
    EXPECT_EQ(lastText(TRACK, {recordWith(Kind::Sound, TRACK, trace::SoundHeader{77, 1, 0})}),
              "sound to the client: 0 bytes from byte 77");
    EXPECT_EQ(textsOf({recordWith(Kind::Lost, TRACK, trace::LostRecords{12})}).back(),
              "   1.500000 12 records are lost: this reader was slow");
}

TEST(TraceText, ObeysNoNameAndTrustsNoCount) {
    const auto lines = textsOf({registration(VOLUME, "a\x1b[2J\"\n")});
    EXPECT_EQ(lines.front(), "   1.500000 #0 volume \"a\\x1b[2J\\\"\\n\" registers -> no reply");
    wire::NamesReply names = {};
    names.list.count = std::numeric_limits<std::int32_t>::max();
    const std::string text =
        lastText(VOLUME, {request(VOLUME, wire::FunctionRequest{36}), reply(VOLUME, 36, names)});
    EXPECT_EQ(std::count(text.begin(), text.end(), '"'), 64);
    names.list.count = -1;
    EXPECT_EQ(
        lastText(VOLUME, {request(VOLUME, wire::FunctionRequest{36}), reply(VOLUME, 36, names)}),
        "getStreamTypeList() -> ok [14 us]");
}

TEST(TraceWords, CoverEveryOperationOfTheCatalogue) {
    for (const trace::WireOperation& operation : trace::wireOperations()) {
        const trace::Words* const words = trace::wordsOf(operation.connection, operation.function);
        ASSERT_NE(words, nullptr) << operation.name;
        EXPECT_STREQ(words->name, operation.name);
        EXPECT_EQ(words->requestSize, operation.request->size) << operation.name;
        EXPECT_EQ(words->replySize, operation.reply->size) << operation.name;
    }
    EXPECT_EQ(trace::wordsOf(VOLUME, 999), nullptr);
    EXPECT_EQ(trace::wordsOf(trace::UNKNOWN, 2), nullptr);
}

TEST(TraceJson, HasAllFieldsOfARequestAndItsReply) {
    const Json json = lastJson(
        VOLUME, {request(VOLUME, TO_MINUS_3), reply(VOLUME, SET_GAIN, wire::StatusReply{0})});
    EXPECT_EQ(json, Json::parse(R"({
        "time": "2023-11-14T22:13:20.000000000Z", "connection": 1, "pid": 42, "type": "volume",
        "type_number": 131, "handle": 5, "name": "knob", "kind": "request",
        "operation": "setMasterVolume", "function": 20, "flag": true,
        "request": {"gain": {"value": -3.0, "unit": "dB", "name": null}}, "reply": {},
        "status": 0, "status_name": "AUDIO_NO_ERROR", "microseconds": 14, "problem": null})"));
}

TEST(TraceJson, NamesValuesMasksListsAndBlocks) {
    const wire::ChannelGainRequest channels = {27, 3, 1.5F};
    const Json mask = lastJson(VOLUME, {request(VOLUME, channels)});
    EXPECT_EQ(mask.at("request").at("channel").at("name"), "AUDIO_CHANNEL_LF+AUDIO_CHANNEL_RF");
    EXPECT_EQ(mask.at("request").at("gain").at("value"), 1.5);
    EXPECT_EQ(mask.at("reply"), nullptr);
    EXPECT_EQ(mask.at("problem"), "no reply");

    wire::NamesReply names = {};
    names.list.count = 1;
    std::strcpy(names.list.slots[0].text, "media");
    const Json list =
        lastJson(VOLUME, {request(VOLUME, wire::FunctionRequest{36}), reply(VOLUME, 36, names)});
    EXPECT_EQ(list.at("reply").at("slots").at("value"), Json::array({"media"}));

    struct {
        wire::EffectRequest request = {4098, {}, {}, 3};
        std::uint8_t block[3] = {1, 0xAB, 0xFF};
        std::uint8_t padding = 0;
    } effect;
    constexpr std::uint32_t APP = AUDIO_CONNECT_APP_SETTING;
    Record sent = request(APP, effect);
    sent.bytes.pop_back();
    EXPECT_EQ(lastJson(APP, {sent}).at("request").at("block").at("value"), "01abff");
}

TEST(TraceJson, OfAnInfiniteGainIsNull) {
    const wire::GainRequest infinite = {SET_GAIN, std::numeric_limits<float>::infinity()};
    EXPECT_EQ(lastJson(VOLUME, {request(VOLUME, infinite)}).at("request").at("gain").at("value"),
              nullptr);
}

TEST(TraceJson, OfEveryOperationWithRandomBytesIsWhole) {
    std::uint32_t noise = 1;
    for (const trace::WireOperation& operation : trace::wireOperations()) {
        Record asked = request(operation.connection, operation.function);
        Record answered = reply(operation.connection, operation.function, std::int32_t{0});
        const auto fill = [&](Record& record, std::size_t size) {
            while (record.bytes.size() < size)
                record.bytes.push_back(static_cast<std::uint8_t>((noise *= 69069) >> 24));
        };
        fill(asked, sizeof(audio_param) + operation.request->size);
        fill(answered, sizeof(SocketFrameHeader) + operation.reply->size);
        const Json json = lastJson(operation.connection, {asked, answered});
        EXPECT_EQ(json.at("operation"), operation.name);
        EXPECT_EQ(json.at("problem"), nullptr) << operation.name;
        EXPECT_TRUE(json.at("request").is_object()) << operation.name;
        EXPECT_TRUE(json.at("reply").is_object()) << operation.name;
        EXPECT_NE(lastText(operation.connection, {asked, answered}), "");
    }
}

Record ofConnection(std::uint32_t number, Record record) {
    record.connection = number;
    return record;
}

TEST(TraceFilter, PassesConnectionsByTheirRegistration) {
    const std::vector<Record> records = {
        ofConnection(1, recordOf(Kind::Connected)),
        ofConnection(2, recordOf(Kind::Connected)),
        ofConnection(2, registration(VOLUME, "other")),
        ofConnection(1, registration(VOLUME, "knob")),
        ofConnection(1, registrationReply(VOLUME, 5)),
        ofConnection(3, registration(AUDIO_CONNECT_MAIN, "knob")),
        ofConnection(1, recordOf(Kind::Disconnected)),
        ofConnection(0, recordWith(Kind::Lost, trace::UNKNOWN, trace::LostRecords{1})),
    };
    const auto passed = [&](const trace::Filter::Wanted& wanted) {
        trace::Filter filter(wanted);
        std::vector<Record> all;
        for (const Record& record : records)
            for (Record& one : filter.pass(record))
                all.push_back(std::move(one));
        return all;
    };
    const std::vector<Record> knob = {records[0], records[3], records[4], records[6], records[7]};
    EXPECT_EQ(passed({1, {}, {}}), knob);
    EXPECT_EQ(passed({{}, "knob", VOLUME}), knob);
    EXPECT_EQ(passed({{}, {}, AUDIO_CONNECT_MAIN}), (std::vector{records[5], records[7]}));
    EXPECT_EQ(passed({{}, "nobody", {}}), (std::vector{records[7]}));
    EXPECT_EQ(passed({}), records);
}

TEST(TraceTypes, HaveNamesThatLeadBackToThem) {
    const std::vector<std::string> names = trace::connectTypeNames();
    EXPECT_THAT(names, testing::Contains("record control"));
    for (const std::string& name : names)
        EXPECT_EQ(trace::connectTypeName(trace::connectTypeOf(name).value()), name);
    EXPECT_EQ(trace::connectTypeOf("nothing"), std::nullopt);
}

}  // namespace

}  // namespace cabinaudio::test
