// SPDX-License-Identifier: Apache-2.0
//
// The generated fields against the records as the compiler lays them out.
#include "devkit/trace/WireFields.h"
#include "wire/Frame.h"
#include "wire/Settings.h"
#include "wire/StreamOperations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <tuple>
#include <utility>

namespace cabinaudio::trace {
namespace {

const WireField* find(const WireRecord& record, const std::string& name) {
    for (const WireField& field : record.fields)
        if (name == field.name) return &field;
    return nullptr;
}

/// The fields follow each other without gaps and fill the record.
void expectFilled(const WireRecord& record) {
    SCOPED_TRACE(record.name);
    unsigned end = 0;
    for (const WireField& field : record.fields) {
        EXPECT_EQ(field.offset, end) << field.name;
        end += field.count * field.size;
        if (field.slots == nullptr) continue;
        EXPECT_EQ(field.slots->size, field.size);
        expectFilled(*field.slots);
    }
    EXPECT_EQ(end, record.size);
}

/// What the generated table has of an operation. @param entry  row of the catalogue in wire/
template <typename Entry>
void expectOperation(std::uint32_t connection, const Entry& entry) {
    using Request = typename Entry::Request;
    using Reply = typename Entry::Reply;
    const auto* found = findOperation(connection, static_cast<std::uint32_t>(Entry::ID));
    ASSERT_NE(found, nullptr) << connection << " " << entry.name;
    EXPECT_STREQ(found->name, entry.name);
    EXPECT_STREQ(found->meaning, entry.meaning);
    EXPECT_EQ(found->hasFlag, entry.hasFlag) << entry.name;
    EXPECT_EQ(found->request->size, sizeof(Request)) << entry.name;
    EXPECT_EQ(found->reply->size, sizeof(Reply)) << entry.name;
    EXPECT_EQ(found->request->hasBlock, (std::is_same_v<Request, wire::EffectRequest>));
    EXPECT_EQ(found->reply->hasBlock, (std::is_same_v<Reply, wire::EffectReply>));
}

template <typename Connections, typename... Rows>
std::size_t expectStreams(const Connections& connections, const std::tuple<Rows...>& rows) {
    for (const audio_connect_type connection : connections)
        std::apply([&](const Rows&... row) { (expectOperation(connection, row), ...); }, rows);
    return std::size(connections) * sizeof...(Rows);
}

TEST(WireFields, HaveEachOperationOfTheCatalogue) {
    std::size_t count = 0;
    wire::forEachSetting([&](const auto& setting) {
        expectOperation(setting.CONNECTION, setting);
        ++count;
    });
    count += expectStreams(wire::SINK_CONNECTIONS, wire::SINK_OPERATIONS);
    count += expectStreams(wire::TRACK_CONNECTIONS, wire::TRACK_OPERATIONS);
    count += expectStreams(wire::CAPTURE_CONNECTIONS, wire::CAPTURE_OPERATIONS);
    count += expectStreams(wire::UPLINK_CONNECTIONS, wire::UPLINK_OPERATIONS);
    EXPECT_EQ(wireOperations().size(), count);
    EXPECT_EQ(findOperation(AUDIO_CONNECT_MAIN, 22), nullptr) << "no key shift of a sink";
    EXPECT_EQ(findOperation(AUDIO_CONNECT_UNKNOWN, 6), nullptr);
}

TEST(WireFields, FillEachRecord) {
    for (const WireOperation& operation : wireOperations()) {
        expectFilled(*operation.request);
        expectFilled(*operation.reply);
        EXPECT_STREQ(operation.request->fields.front().name, "function");
        EXPECT_STREQ(operation.reply->fields.front().name, "status");
    }
    for (const WireRecord& record : {clientHeader(), frameHeader(), registrationReply()})
        expectFilled(record);
    EXPECT_EQ(clientHeader().size, sizeof(audio_param));
    EXPECT_EQ(frameHeader().size, sizeof(SocketFrameHeader));
    EXPECT_EQ(registrationReply().size, sizeof(wire::RegistrationReply));
}

TEST(WireFields, HaveOffsetsTypesAndUnits) {
    const auto* operation = findOperation(AUDIO_CONNECT_VOLUME_SETTING, 24);
    ASSERT_NE(operation, nullptr);
    const auto* gain = find(*operation->request, "gain");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->offset, offsetof(wire::TrackGainRequest, gain));
    EXPECT_EQ(gain->type, FieldType::F32);
    EXPECT_STREQ(gain->unit, "dB");
    const auto* create = findOperation(AUDIO_CONNECT_AUXILIARY, 21);
    ASSERT_NE(create, nullptr);
    const auto* rate = find(*create->request, "sampleRate");
    ASSERT_NE(rate, nullptr);
    EXPECT_EQ(rate->offset, offsetof(wire::CreateRequest, format.sampleRate));
    EXPECT_STREQ(rate->unit, "Hz");
    const auto* tracks = find(*findOperation(AUDIO_CONNECT_SOURCE_SETTING, 38)->reply, "slots");
    ASSERT_NE(tracks, nullptr);
    EXPECT_EQ(tracks->count, 32U);
    EXPECT_EQ(find(*tracks->slots, "rate")->offset, offsetof(wire::TrackInfo, rate));
    EXPECT_STREQ(findOperation(AUDIO_CONNECT_APP_SETTING, 22)->valueUnit, "us");
}

TEST(WireFields, NameValuesAndBits) {
    const auto* mute = findOperation(AUDIO_CONNECT_VOLUME_SETTING, 8);
    const auto* paths = find(*mute->request, "paths");
    ASSERT_NE(paths, nullptr);
    EXPECT_TRUE(paths->isMask);
    EXPECT_STREQ(nameOf(paths->choices, 8), "AUDIO_OUT_PATH_AUXILIARY");
    const auto* status = find(*mute->reply, "status");
    ASSERT_NE(status, nullptr);
    EXPECT_FALSE(status->isMask);
    EXPECT_STREQ(nameOf(status->choices, -3000), "AUDIO_BAD_VALUE");
    EXPECT_EQ(nameOf(status->choices, -1), nullptr);
    EXPECT_STREQ(nameOf(connectionTypes(), 65), "AUDIO_CONNECT_UPLINK");
}

TEST(WireFields, NameNotificationsByConnectionType) {
    EXPECT_STREQ(findEvent(AUDIO_CONNECT_AUXILIARY, 4)->name, "Finished");
    EXPECT_STREQ(findEvent(AUDIO_CONNECT_MAIN, 4)->name, "SourceDeactivated");
    EXPECT_STREQ(findEvent(AUDIO_CONNECT_UPLINK, 2)->name, "RingState");
    EXPECT_EQ(findEvent(AUDIO_CONNECT_AUXILIARY, 5), nullptr);
    EXPECT_EQ(findEvent(AUDIO_CONNECT_VOLUME_SETTING, 255), nullptr);
}

}  // namespace
}  // namespace cabinaudio::trace
