// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/CaptureDecoder.h"

#include "devkit/trace/Error.h"
#include "devkit/trace/RecordTime.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace cabinaudio::trace {
namespace {

constexpr std::size_t BLOCK_HEADER = 8;    // type and length
constexpr std::size_t MINIMUM_BLOCK = 12;  // with the length at the end
constexpr std::uint32_t OLD_PACKET_BLOCK = 2;
constexpr std::uint32_t SIMPLE_PACKET_BLOCK = 3;
constexpr std::size_t INTERFACE_FIELDS = offsetof(InterfaceBlock, resolutionCode);

std::uint32_t swapped(std::uint32_t value) {
    return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

template <typename Number>
Number numberAt(std::span<const std::uint8_t> bytes, std::size_t at) {
    Number value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

bool isSectionWord(std::uint32_t word) {
    return word == BYTE_ORDER_WORD || word == swapped(BYTE_ORDER_WORD);
}

}  // namespace

void CaptureDecoder::add(std::span<const std::uint8_t> bytes) {
    // Moving the rest is cheap only now and then.
    if (mBegin > mInput.size() / 2) {
        mInput.erase(mInput.begin(), mInput.begin() + static_cast<std::ptrdiff_t>(mBegin));
        mBegin = 0;
    }
    mInput.insert(mInput.end(), bytes.begin(), bytes.end());
}

std::optional<Record> CaptureDecoder::next() {
    for (auto bytes = block(); !bytes.empty(); bytes = block()) {
        const std::uint32_t type = word(bytes, 0);
        if (type == OLD_PACKET_BLOCK || type == SIMPLE_PACKET_BLOCK)
            fail("a packet without a time that can be used (block type " + std::to_string(type) +
                 ")");
        std::optional<Record> record;
        if (type == SECTION_BLOCK) beginSection(bytes);
        if (type == INTERFACE_BLOCK) addInterface(bytes);
        if (type == PACKET_BLOCK) record = recordOf(bytes);
        mBegin += bytes.size();
        mOffset += bytes.size();
        if (record) return record;
    }
    return {};
}

/// @return the next whole block, empty if there is none yet
std::span<const std::uint8_t> CaptureDecoder::block() {
    const auto rest = std::span<const std::uint8_t>(mInput).subspan(mBegin);
    if (rest.size() < MINIMUM_BLOCK) return {};
    // The type of a section's block reads the same in both byte orders.
    if (numberAt<std::uint32_t>(rest, 0) == SECTION_BLOCK) {
        const auto order = numberAt<std::uint32_t>(rest, BLOCK_HEADER);
        if (!isSectionWord(order)) fail("no pcapng capture");
        mIsSwapped = order != BYTE_ORDER_WORD;
        mHasBegun = true;
    }
    if (!mHasBegun) fail("no pcapng capture");
    const std::uint32_t length = word(rest, 4);
    if (length < MINIMUM_BLOCK || length % 4 != 0 || length > MAXIMUM_BLOCK)
        fail("a block of " + std::to_string(length) + " bytes");
    if (rest.size() < length) return {};
    const auto whole = rest.first(length);
    if (word(whole, length - 4) != length)
        fail("a block of " + std::to_string(length) + " bytes that ends with the length " +
             std::to_string(word(whole, length - 4)));
    return whole;
}

void CaptureDecoder::beginSection(std::span<const std::uint8_t> block) {
    if (block.size() < sizeof(SectionBlock)) fail("a section's block that is too short");
    const std::uint16_t major = half(block, offsetof(SectionBlock, major));
    if (major != 1) fail("pcapng version " + std::to_string(major) + ", expected 1");
    mInterfaces.clear();
}

void CaptureDecoder::addInterface(std::span<const std::uint8_t> block) {
    if (block.size() < INTERFACE_FIELDS + 4) fail("an interface's block that is too short");
    Interface interface;
    interface.linkType = half(block, offsetof(InterfaceBlock, linkType));
    if (interface.linkType != LINK_TYPE)
        fail("link type " + std::to_string(interface.linkType) + ", expected " +
             std::to_string(LINK_TYPE) + " (USER0): a capture of something else");
    readOptions(block.subspan(INTERFACE_FIELDS, block.size() - INTERFACE_FIELDS - 4), interface);
    mInterfaces.push_back(interface);
}

void CaptureDecoder::readOptions(std::span<const std::uint8_t> options,
                                 Interface& interface) const {
    while (options.size() >= 4) {
        const std::uint16_t code = half(options, 0);
        const std::uint16_t length = half(options, 2);
        const std::size_t whole = 4 + std::size_t{length} + paddingOf(length);
        if (code == 0) return;
        if (whole > options.size()) fail("an option that is longer than its block");
        if (code == OPTION_RESOLUTION && length == 1) interface.resolution = options[4];
        if (code == OPTION_TIME_OFFSET && length == 8) {
            const std::uint64_t first = word(options, 4);
            const std::uint64_t second = word(options, 8);
            interface.offsetSeconds =
                static_cast<std::int64_t>(mIsSwapped ? first << 32 | second : second << 32 | first);
        }
        options = options.subspan(whole);
    }
}

Record CaptureDecoder::recordOf(std::span<const std::uint8_t> block) const {
    if (block.size() < sizeof(PacketHeader) + 4) fail("a packet's block that is too short");
    const Interface& interface = interfaceOf(word(block, offsetof(PacketHeader, interface)));
    const std::uint32_t captured = word(block, offsetof(PacketHeader, captured));
    const std::uint32_t original = word(block, offsetof(PacketHeader, original));
    if (captured > block.size() - sizeof(PacketHeader) - 4)
        fail("a packet of " + std::to_string(captured) + " bytes in a block of " +
             std::to_string(block.size()));
    if (captured < original)
        fail("only " + std::to_string(captured) + " of the " + std::to_string(original) +
             " bytes of a packet were captured");
    Record record = unpacked(block.subspan(sizeof(PacketHeader), captured));
    const std::uint64_t high = word(block, offsetof(PacketHeader, timeHigh));
    const std::uint64_t low = word(block, offsetof(PacketHeader, timeLow));
    record.timeNs = nanosecondsOf(high << 32 | low, interface.resolution, interface.offsetSeconds);
    return record;
}

Record CaptureDecoder::unpacked(std::span<const std::uint8_t> data) const {
    RecordHeader header;
    const bool isWhole = data.size() >= sizeof header;
    if (!isWhole || std::memcmp(data.data(), RECORD_MAGIC, sizeof RECORD_MAGIC) != 0)
        fail("a packet that is no record of this audio server's connections");
    std::memcpy(&header, data.data(), sizeof header);
    if (header.version != RECORD_VERSION)
        fail("record version " + std::to_string(header.version) + ", expected " +
             std::to_string(RECORD_VERSION));
    if (header.kind > static_cast<std::uint8_t>(Kind::Lost))
        fail("record kind " + std::to_string(header.kind) + ", expected 0 to 6");
    Record record;
    record.kind = static_cast<Kind>(header.kind);
    record.connection = header.connection;
    record.pid = header.pid;
    record.type = header.type;
    record.function = header.function;
    record.detail = header.detail;
    const auto bytes = data.subspan(sizeof header);
    record.bytes.assign(bytes.begin(), bytes.end());
    return record;
}

const CaptureDecoder::Interface& CaptureDecoder::interfaceOf(std::uint32_t number) const {
    if (number >= mInterfaces.size())
        fail("a packet of interface " + std::to_string(number) + ", which was not described");
    return mInterfaces[number];
}

std::uint16_t CaptureDecoder::half(std::span<const std::uint8_t> bytes, std::size_t at) const {
    const auto value = numberAt<std::uint16_t>(bytes, at);
    return mIsSwapped ? static_cast<std::uint16_t>(value >> 8 | value << 8) : value;
}

std::uint32_t CaptureDecoder::word(std::span<const std::uint8_t> bytes, std::size_t at) const {
    const auto value = numberAt<std::uint32_t>(bytes, at);
    return mIsSwapped ? swapped(value) : value;
}

void CaptureDecoder::fail(const std::string& text) const {
    throw Error("at byte " + std::to_string(mOffset) + ": " + text);
}

}  // namespace cabinaudio::trace
