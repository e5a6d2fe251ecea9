// SPDX-License-Identifier: Apache-2.0
// Captures that other programs have written or changed, and files that are no captures.
#include "devkit/trace/CaptureWriter.h"
#include "devkit/trace/RecordTime.h"
#include "tests/trace/Captured.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using trace::Record;

using Bytes = std::vector<std::uint8_t>;

/// Writes pcapng blocks in either byte order.
class Blocks {
public:
    explicit Blocks(bool isBigEndian) : mIsBigEndian(isBigEndian) {}

    Bytes number(std::uint64_t value, std::size_t size) const {
        Bytes bytes(size);
        for (std::size_t i = 0; i < size; ++i)
            bytes[mIsBigEndian ? size - 1 - i : i] = static_cast<std::uint8_t>(value >> 8 * i);
        return bytes;
    }
    Bytes words(const std::vector<std::uint32_t>& values) const {
        Bytes bytes;
        for (const std::uint32_t value : values)
            add(bytes, number(value, 4));
        return bytes;
    }
    Bytes block(std::uint32_t type, Bytes body) const {
        body.resize((body.size() + 3) / 4 * 4);
        const auto length = static_cast<std::uint32_t>(body.size() + 12);
        Bytes bytes = words({type, length});
        add(bytes, body);
        add(bytes, number(length, 4));
        return bytes;
    }
    Bytes option(std::uint16_t code, const Bytes& value) const {
        Bytes bytes = number(code, 2);
        add(bytes, number(value.size(), 2));
        add(bytes, value);
        bytes.resize((bytes.size() + 3) / 4 * 4);
        return bytes;
    }
    Bytes section(std::uint16_t major = 1) const {
        Bytes body = number(trace::BYTE_ORDER_WORD, 4);
        add(body, number(major, 2));
        add(body, number(0, 2));
        add(body, words({0xFFFFFFFF, 0xFFFFFFFF}));
        add(body, option(4, {'t', 'e', 's', 't'}));
        return block(trace::SECTION_BLOCK, body);
    }
    Bytes interface(std::uint16_t linkType, const Bytes& options) const {
        Bytes body = number(linkType, 2);
        add(body, words({0}));
        body.resize(8);
        add(body, options);
        return block(trace::INTERFACE_BLOCK, body);
    }
    /// The record's own bytes do not depend on the byte order of the blocks.
    Bytes packet(std::uint32_t interface, std::uint64_t units, const Record& record) const {
        const Bytes ours = trace::blockOf(record);
        const auto data =
            static_cast<std::uint32_t>(sizeof(trace::RecordHeader) + record.bytes.size());
        Bytes body = words({interface, static_cast<std::uint32_t>(units >> 32),
                            static_cast<std::uint32_t>(units), data, data});
        body.insert(body.end(), ours.begin() + sizeof(trace::PacketHeader), ours.end() - 4);
        add(body, option(1, {'n', 'o', 't', 'e'}));
        return block(trace::PACKET_BLOCK, body);
    }
    static void add(Bytes& bytes, const Bytes& more) {
        bytes.insert(bytes.end(), more.begin(), more.end());
    }

private:
    bool mIsBigEndian;
};

Record at(std::uint64_t timeNs) {
    Record record = fullRecord(9);
    record.timeNs = timeNs;
    return record;
}

class ForeignCapture : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(ByteOrders, ForeignCapture, testing::Bool(),
                         [](const auto& order) { return order.param ? "Big" : "Little"; });

TEST_P(ForeignCapture, IsReadWithOtherBlocksSectionsAndResolutions) {
    const Blocks blocks(GetParam());
    Bytes capture = blocks.section();
    Blocks::add(capture, blocks.block(0x0BAD, {1, 2, 3}));
    Blocks::add(capture, blocks.interface(trace::LINK_TYPE, {}));  // microseconds
    Blocks::add(capture, blocks.interface(trace::LINK_TYPE, blocks.option(9, {3})));
    Bytes options = blocks.option(9, {0x80 + 10});
    Blocks::add(options, blocks.option(14, blocks.number(100, 8)));
    Blocks::add(capture, blocks.interface(trace::LINK_TYPE, options));
    Blocks::add(capture, blocks.packet(0, 1'700'000'000'123'456, fullRecord(9)));
    Blocks::add(capture, blocks.block(5, {0, 0, 0, 0}));  // statistics
    Blocks::add(capture, blocks.packet(1, 5'250, fullRecord(9)));
    Blocks::add(capture, blocks.packet(2, 2 * 1024 + 512, fullRecord(9)));
    // The second section numbers its interfaces anew.
    const Blocks others(!GetParam());
    Blocks::add(capture, others.section());
    Blocks::add(capture, others.interface(trace::LINK_TYPE, others.option(9, {9})));
    Blocks::add(capture, others.packet(0, 77, fullRecord(9)));

    const Captured read = readBack(capture, "foreign");
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.records, (std::vector<Record>{at(1'700'000'000'123'456'000), at(5'250'000'000),
                                                 at(102'500'000'000), at(77)}));
}

TEST_P(ForeignCapture, OfAnotherLinkTypeIsRefusedWithItsPlace) {
    const Blocks blocks(GetParam());
    Bytes capture = blocks.section();
    const std::size_t place = capture.size();
    Blocks::add(capture, blocks.interface(1, {}));
    EXPECT_EQ(readBack(capture, "ethernet.pcapng").error,
              "ethernet.pcapng: at byte " + std::to_string(place) +
                  ": link type 1, expected 147 (USER0): a capture of something else");
}

struct Damage {
    const char* what;
    std::string error;
    Bytes capture;
};

Bytes after(const Bytes& opening, const Bytes& more) {
    Bytes bytes = opening;
    Blocks::add(bytes, more);
    return bytes;
}

/// Our own capture of one record, with one byte changed.
Bytes changed(std::size_t place, std::uint8_t value) {
    Bytes bytes = after(trace::openingBlocks(), trace::blockOf(fullRecord(8)));
    bytes[place] = value;
    return bytes;
}

std::vector<Damage> damages() {
    const Blocks blocks(false);
    const Bytes begun = blocks.section();
    const Bytes opening = trace::openingBlocks();
    const std::size_t packet = opening.size();
    const std::size_t record = packet + sizeof(trace::PacketHeader);
    return {
        {"Nothing", "at byte 0: no pcapng capture", {}},
        {"Text", "at byte 0: no pcapng capture", Bytes(100, 'x')},
        {"NoByteOrder", "at byte 0: no pcapng capture", changed(8, 0)},
        {"Version", "pcapng version 2, expected 1", blocks.section(2)},
        {"Length", "a block of 13 bytes", changed(4, 13)},
        {"HugeBlock", "a block of", changed(packet + 7, 0x7F)},
        {"Trailer", "that ends with the length", changed(packet + 28 + 32 + 8, 1)},
        {"ShortInterface", "interface's block that is too short",
         after(begun, blocks.block(trace::INTERFACE_BLOCK, {147, 0, 0, 0}))},
        {"LongOption", "longer than its block",
         after(begun, blocks.interface(trace::LINK_TYPE, {9, 0, 200, 0}))},
        {"NoInterface", "interface 3, which was not described",
         after(opening, blocks.packet(3, 0, fullRecord(1)))},
        {"ShortPacket", "packet's block that is too short",
         after(opening, blocks.block(trace::PACKET_BLOCK, {0, 0, 0, 0}))},
        {"PacketOutside", "a packet of 4", changed(packet + 21, 0x10)},
        {"CutPacket", "bytes of a packet were captured", changed(packet + 24, 200)},
        {"SimplePacket", "without a time", after(opening, blocks.block(3, {0, 0, 0, 0}))},
        {"Magic", "no record of this audio server's connections", changed(record, 'X')},
        {"RecordVersion", "record version 2, expected 1", changed(record + 4, 2)},
        {"RecordKind", "record kind 7, expected 0 to 6", changed(record + 5, 7)},
    };
}

class DamagedCapture : public testing::TestWithParam<Damage> {};
INSTANTIATE_TEST_SUITE_P(Kinds, DamagedCapture, testing::ValuesIn(damages()),
                         [](const auto& damage) { return damage.param.what; });

TEST_P(DamagedCapture, IsRefusedWithItsFileAndPlace) {
    const Captured read = readBack(GetParam().capture, "damaged");
    EXPECT_THAT(read.error, StartsWith("damaged: at byte "));
    EXPECT_THAT(read.error, HasSubstr(GetParam().error));
    EXPECT_TRUE(read.records.empty());
}

TEST(GarbledCapture, EndsInRecordsOrOneErrorLine) {
    const Bytes whole = after(after(trace::openingBlocks(), trace::blockOf(fullRecord(50))),
                              trace::blockOf(fullRecord(51)));
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> place(0, whole.size() - 1);
    std::uniform_int_distribution<unsigned> value(0, 255);
    unsigned errors = 0;
    for (int round = 0; round < 3000; ++round) {
        Bytes bytes = whole;
        for (int i = 0; i < 3; ++i)
            bytes[place(random)] = static_cast<std::uint8_t>(value(random));
        const Captured read = readBack(bytes, "garbled");
        ASSERT_LE(read.records.size(), 2U);
        ASSERT_EQ(std::count(read.error.begin(), read.error.end(), '\n'), 0);
        if (!read.error.empty()) ++errors;
    }
    EXPECT_GT(errors, 0U);
}

TEST(RecordTime, IsExactForCommonResolutionsAndBoundedForOthers) {
    EXPECT_EQ(trace::nanosecondsOf(5, 0, 0), 5'000'000'000U);
    EXPECT_EQ(trace::nanosecondsOf(1'700'000'000'123'456'789, 9, -1'700'000'000), 123'456'789U);
    EXPECT_EQ(trace::nanosecondsOf(1'999'999'999'999, 12, 0), 1'999'999'999U);
    EXPECT_EQ(trace::nanosecondsOf(3, 0x81, 0), 1'500'000'000U);
    EXPECT_EQ(trace::nanosecondsOf(std::uint64_t{1} << 63, 0x80 + 63, 1), 2'000'000'000U);
    // Units that 64 bits cannot count in a second.
    EXPECT_EQ(trace::nanosecondsOf(12345, 20, 1), 1'000'000'000U);
    EXPECT_EQ(trace::nanosecondsOf(12345, 0x80 + 64, 1), 1'000'000'000U);
}

}  // namespace

}  // namespace cabinaudio::test
