// SPDX-License-Identifier: Apache-2.0
// The parts of a replay, without the tool and without a server.
#include "devkit/replay/Alignment.h"
#include "devkit/replay/Conversation.h"
#include "devkit/replay/Fields.h"
#include "devkit/replay/SoundFeed.h"
#include "devkit/trace/CaptureWriter.h"
#include "tests/support/Files.h"
#include "wire/Frame.h"
#include "wire/Stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

namespace cabinaudio::replay {

namespace {

using test::TemporaryDirectory;
using testing::IsEmpty;

/// Letters stand for requests: a capital letter is like its small one.
std::string paired(std::string_view recorded, std::string_view got) {
    const auto likeness = [&](std::size_t r, std::size_t g) {
        if (recorded[r] == got[g]) return Likeness::Equal;
        return (recorded[r] ^ got[g]) == 0x20 ? Likeness::Similar : Likeness::Different;
    };
    std::string text;
    for (const Pairing& pair : align(recorded.size(), got.size(), likeness)) {
        text += pair.recorded ? recorded[*pair.recorded] : '-';
        text += pair.got ? got[*pair.got] : '-';
        text += ' ';
    }
    return text;
}

template <typename Record>
Bytes bytesOf(const Record& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

trace::Record message(trace::Kind kind, Bytes bytes) {
    trace::Record record;
    record.kind = kind;
    record.connection = 1;
    record.bytes = std::move(bytes);
    return record;
}

trace::Record request(wire::StreamFunction function, std::uint32_t handle) {
    audio_param header = {};
    header.cmd = AUDIO_CMD_CALL_FLAG;
    header.type = AUDIO_CONNECT_ALTERNATIVE;
    header.handle = handle;
    header.length = sizeof(wire::FunctionRequest);
    Bytes bytes = bytesOf(header);
    const Bytes payload = bytesOf(wire::FunctionRequest{static_cast<std::uint32_t>(function)});
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return message(trace::Kind::ToServer, bytes);
}

trace::Record registration() {
    audio_param header = {};
    header.cmd = AUDIO_CMD_REGISTER;
    header.type = AUDIO_CONNECT_ALTERNATIVE;
    header.handle = AUDIO_REGISTER_WORD;
    header.length = sizeof header.name;
    std::strcpy(header.name, "stream");
    return message(trace::Kind::ToServer, bytesOf(header));
}

trace::Record summary(trace::RingEvent event, std::uint64_t bytes) {
    trace::RingSummary ring = {};
    ring.event = static_cast<std::uint32_t>(event);
    ring.bytes = bytes;
    return message(trace::Kind::Ring, bytesOf(ring));
}

Bytes reply(std::int32_t status, std::int32_t volume) {
    SocketFrameHeader frame = {};
    frame.magic = FRAME_MAGIC;
    frame.headerId = HEADER_REPLY;
    frame.sendTimeUs = static_cast<std::uint64_t>(volume);
    Bytes bytes = bytesOf(frame);
    const Bytes body = bytesOf(wire::VolumeReply{status, volume});
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

Conversation read(const std::vector<trace::Record>& records) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("capture");
    {
        trace::CaptureWriter writer(file);
        for (const trace::Record& record : records)
            writer.write(record);
    }
    return readConversation(file);
}

}  // namespace

TEST(ReplayAlignment, FindsTheFewestDifferences) {
    EXPECT_EQ(paired("abc", "abc"), "aa bb cc ");
    EXPECT_EQ(paired("abc", "axbc"), "aa -x bb cc ");
    EXPECT_EQ(paired("abc", "ac"), "aa b- cc ");
    EXPECT_EQ(paired("abc", "aBc"), "aa bB cc ");
    EXPECT_EQ(paired("abc", "axc"), "aa bx cc ");
    EXPECT_EQ(paired("", "ab"), "-a -b ");
    EXPECT_EQ(paired("ab", ""), "a- b- ");
}

TEST(ReplayAlignment, PairsLongSequencesInOrder) {
    const std::string recorded(3000, 'a');
    const std::string got(3000, 'b');
    EXPECT_EQ(paired(recorded, got).size(), std::size_t{3000} * 3);
}

TEST(ReplayFields, NameWhatDiffersInAReply) {
    const auto get = static_cast<std::uint32_t>(wire::CaptureFunction::GetVolume);
    const Fields fields({});
    const auto differences =
        fields.compareReplies(AUDIO_CONNECT_INPUT0, get, reply(0, 50), reply(0, 60));
    ASSERT_EQ(differences.size(), 1);
    EXPECT_EQ(differences[0].field, "volume");
    EXPECT_EQ(differences[0].recorded, "50");
    EXPECT_EQ(differences[0].got, "60");
    Bytes cut = reply(0, 50);
    cut.resize(cut.size() - 4);
    const auto shorter = fields.compareReplies(AUDIO_CONNECT_INPUT0, get, reply(0, 50), cut);
    ASSERT_EQ(shorter.size(), 1);
    EXPECT_EQ(shorter[0].field, "size");
    EXPECT_EQ(shorter[0].got, "4 bytes");
    EXPECT_THAT(
        Fields({"volume"}).compareReplies(AUDIO_CONNECT_INPUT0, get, reply(0, 50), reply(0, 60)),
        IsEmpty());
}

/// A summary is written when a ring ends, or some time after the sound that it counts.
TEST(ReplayConversation, PutsSoundThatIsCountedLateBeforeTheStop) {
    const Conversation conversation =
        read({registration(), request(wire::StreamFunction::Start, 0),
              summary(trace::RingEvent::Read, 100), request(wire::StreamFunction::Stop, 0),
              summary(trace::RingEvent::Read, 20)});
    const SoundFeed feed(conversation, 0);
    EXPECT_EQ(feed.total(), 120);
    const std::vector<std::size_t>& steps = conversation.connections[0].steps;
    ASSERT_EQ(steps.size(), 5);
    EXPECT_EQ(conversation.steps[steps.back()].kind, Step::Kind::Request);
    EXPECT_EQ(feed.before(steps.back()), 120);
}

TEST(ReplayConversation, CountsTheSoundOfOneEndOfTheRing) {
    const Conversation conversation =
        read({registration(), request(wire::StreamFunction::Start, 0),
              summary(trace::RingEvent::Write, 100), summary(trace::RingEvent::Read, 90)});
    EXPECT_EQ(SoundFeed(conversation, 0).total(), 100);
}

TEST(ReplayConversation, WarnsOfMessagesThatBreakTheProtocol) {
    const Conversation conversation =
        read({registration(), request(wire::StreamFunction::Start, 5)});
    ASSERT_EQ(conversation.warnings.size(), 1);
    EXPECT_EQ(conversation.warnings[0],
              "record 2: connection 1 (alternative \"stream\") sends another client's handle");
}

}  // namespace cabinaudio::replay
