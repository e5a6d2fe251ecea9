// SPDX-License-Identifier: Apache-2.0
//
// Every operation with bytes that are typed by hand: nothing is left undecoded, and each field has
// the name, the place and the unit of the catalogue.
#include "devkit/trace/WireFields.h"
#include "tests/settings/Row.h"
#include "tests/wireshark/Dissected.h"
#include "tests/wireshark/Talk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {
namespace {

using trace::FieldType;
using trace::WireField;
using trace::WireOperation;
using trace::WireRecord;

constexpr std::size_t CLIENT_HEADER = RECORD_HEADER + 88;
constexpr std::size_t FRAME_HEADER = RECORD_HEADER + 32;

std::string hex(const Bytes& bytes, std::size_t at, std::size_t size) {
    std::string text;
    for (std::size_t i = at; i < at + size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{bytes[i]});
        text += digits;
    }
    return text;
}

/// A message of the talk: its record begins at `from` of the packet.
struct Message {
    std::string name;
    std::size_t packet;
    std::size_t from;
    const WireOperation* operation;
    const WireRecord* record;
    Bytes bytes;
};

/// A talk with all settings operations of the rows, and the messages in it.
class Conversation {
public:
    Conversation() {
        std::uint32_t type = trace::UNKNOWN;
        for (const OperationRow& row : rowsWhere([](const OperationRow&) { return true; })) {
            if (row.type != type) mTalk.connect(row.type);
            type = row.type;
            Bytes reply = joined({word(0), row.results});
            reply.resize(row.replySize);
            add(row.test, type, row.request, reply, row.command);
        }
        addStreams();
    }

    [[nodiscard]] const std::vector<trace::Record>& records() const { return mTalk.records; }
    [[nodiscard]] const std::vector<Message>& messages() const { return mMessages; }

private:
    void addStreams() {
        mTalk.connect(132);
        add("versions", 132, word(0),
            joined({number(0), number(2), number(24), number(25), word(0), word(0), number(2),
                    number(9)}));
        const Bytes format = joined({word(0), word(48000), word(0), word(2), word(1), word(16)});
        for (const std::uint32_t type : {0U, 1U, 2U, 3U, 64U, 65U, 66U, 67U, 68U}) {
            mTalk.connect(type, "stream");
            for (const WireOperation& operation : trace::wireOperations()) {
                if (operation.connection != type) continue;
                Bytes request = word(operation.function);
                if (operation.request->size == 40)
                    request = joined({request, word(type), format, number(-1), number(4242)});
                else if (operation.request->size == 8)
                    request = joined({request, real(1.1F)});
                Bytes reply = joined({word(0), pattern(operation.reply->size - 4)});
                for (const WireField& field : operation.reply->fields)
                    if (field.type == FieldType::Unused)
                        std::fill_n(reply.begin() + field.offset, field.size, std::uint8_t{0});
                add(operation.name, type, request, reply,
                    operation.hasFlag ? FLAGGED_CALL : PLAIN_CALL);
            }
        }
    }

    void add(const std::string& name, std::uint32_t type, const Bytes& request, const Bytes& reply,
             std::uint32_t command = FLAGGED_CALL) {
        const auto* operation =
            trace::findOperation(type, static_cast<std::uint32_t>(request[0] + 256 * request[1]));
        ASSERT_NE(operation, nullptr) << name;
        const std::size_t packet = mTalk.records.size();
        mMessages.push_back({name, packet, CLIENT_HEADER, operation, operation->request, request});
        mMessages.push_back(
            {name + "'s reply", packet + 1, FRAME_HEADER, operation, operation->reply, reply});
        mTalk.call(request, reply, command);
    }

    Talk mTalk;
    std::vector<Message> mMessages;
};

/// The unit that a field of this operation is shown with.
std::string unitOf(const Message& message, const WireField& field) {
    const std::string own = field.unit;
    return own.empty() && std::string(field.name) == "value" ? message.operation->valueUnit : own;
}

/// An element of a field stands where the catalogue has it, with its name, bytes and unit.
void expectElement(const ShownPacket& packet, const Message& message, const WireField& field,
                   unsigned index) {
    const std::size_t offset = field.offset + std::size_t{index} * field.size;
    const ShownField* shown = packet.at(message.from + offset, field.size);
    ASSERT_NE(shown, nullptr) << field.name;
    EXPECT_EQ(shown->value, hex(message.bytes, offset, field.size));
    const std::string label = field.type == FieldType::Unused ? "unused"
                              : field.count > 1 ? field.name + ("[" + std::to_string(index) + "]")
                                                : field.name;
    EXPECT_EQ(shown->text.rfind(label + ": ", 0), 0U) << shown->text;
    const std::string unit = field.isMask ? "" : unitOf(message, field);
    if (!unit.empty()) {
        EXPECT_EQ(shown->text.substr(shown->text.size() - unit.size()), unit) << shown->text;
    }
}

bool isList(const WireField& field) {
    return field.slots != nullptr || (field.type == FieldType::Text && field.count > 1);
}

void expectFields(const ShownPacket& packet, const Message& message) {
    for (const WireField& field : message.record->fields)
        for (unsigned index = 0; !isList(field) && index < field.count; ++index)
            expectElement(packet, message, field, index);
}

/// Notes of packets that are as they should be: rows fill bytes that are unused.
bool isHarmless(const std::string& note) {
    return note == "unused";
}

TEST(WiresharkDissector, DecodesEveryByteOfEveryOperation) {
    const Conversation conversation;
    const auto packets = dissect(conversation.records());
    ASSERT_EQ(packets.size(), conversation.records().size());
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const std::size_t size = RECORD_HEADER + conversation.records()[i].bytes.size();
        EXPECT_EQ(packets[i].firstUncovered(size), size) << "packet " << i + 1;
        const auto undecoded = packets[i].find("cabinaudio.undecoded");
        EXPECT_EQ(undecoded, nullptr) << "packet " << i + 1;
    }
    std::set<std::pair<std::uint32_t, std::uint32_t>> seen;
    for (const Message& message : conversation.messages()) {
        SCOPED_TRACE(message.name + ", packet " + std::to_string(message.packet + 1));
        expectFields(packets[message.packet], message);
        for (const std::string& note : packets[message.packet].notes())
            EXPECT_TRUE(isHarmless(note)) << note;
        EXPECT_EQ(packets[message.packet].texts("cabinaudio.operation"),
                  std::vector{std::string("Operation: ") + message.operation->name});
        EXPECT_EQ(packets[message.packet].texts("cabinaudio.function_name"),
                  std::vector{std::string("Function: ") + message.operation->enumerator});
        seen.insert({message.operation->connection, message.operation->function});
    }
    EXPECT_EQ(seen.size(), trace::wireOperations().size()) << "operations";
}

}  // namespace
}  // namespace cabinaudio::test
