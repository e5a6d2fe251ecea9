// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// Layouts of a capture: a pcapng file with one section, one interface and one packet per record.
// All numbers are little-endian. No library is needed, so that code which is preloaded into
// applications can write captures, too.
namespace cabinaudio::trace {

// ---- Records: the data of a packet --------------------------------------------------------------

enum class Kind : std::uint8_t {
    Connected = 0,     // no bytes
    ToServer = 1,      // an audio_param and the payload, as sent
    ToClient = 2,      // a SocketFrameHeader and the body of the reply, as sent
    Disconnected = 3,  // no bytes
    Ring = 4,          // a RingSummary
    Sound = 5,         // a SoundHeader and bytes of the ring's data
    Lost = 6,          // a LostRecords
};

inline constexpr std::uint8_t RECORD_MAGIC[4] = {'C', 'A', 'B', 'N'};
inline constexpr std::uint8_t RECORD_VERSION = 1;
/// RecordHeader::type before the registration; RecordHeader::function where no function applies.
inline constexpr std::uint32_t UNKNOWN = 0xFFFFFFFF;

/// Begins the data of each packet; the bytes of the kind follow.
struct RecordHeader {
    std::uint8_t magic[4];     // 0   RECORD_MAGIC
    std::uint8_t version;      // 4   RECORD_VERSION
    std::uint8_t kind;         // 5   Kind
    std::uint16_t flags;       // 6   0
    std::uint32_t connection;  // 8   number of the connection in this capture, from 1
    std::int32_t pid;          // 12  process of the client; 0 when it is not known
    std::uint32_t type;        // 16  audio_connect_type; UNKNOWN before the registration
    std::uint32_t function;    // 20  of requests and the replies to them; else UNKNOWN
    std::uint64_t detail;      // 24  reply: microseconds since the request; else 0
};
static_assert(sizeof(RecordHeader) == 32);
static_assert(offsetof(RecordHeader, version) == 4);
static_assert(offsetof(RecordHeader, kind) == 5);
static_assert(offsetof(RecordHeader, flags) == 6);
static_assert(offsetof(RecordHeader, connection) == 8);
static_assert(offsetof(RecordHeader, pid) == 12);
static_assert(offsetof(RecordHeader, type) == 16);
static_assert(offsetof(RecordHeader, function) == 20);
static_assert(offsetof(RecordHeader, detail) == 24);

enum class RingEvent : std::uint32_t { Write = 1, Read = 2, Notify = 3, Wait = 4 };

/// Events of one sort at one end of a ring since the last summary of that sort.
struct RingSummary {
    std::uint32_t event;        // 0   RingEvent
    std::uint32_t count;        // 4   of events
    std::uint64_t bytes;        // 8   moved by these events
    std::uint64_t position;     // 16  of writer or reader, bytes since the ring's creation
    std::uint64_t longestWait;  // 24  microseconds
    std::uint32_t fill;         // 32  bytes in the ring
    std::uint32_t size;         // 36  of the ring, bytes
};
static_assert(sizeof(RingSummary) == 40);
static_assert(offsetof(RingSummary, count) == 4);
static_assert(offsetof(RingSummary, bytes) == 8);
static_assert(offsetof(RingSummary, position) == 16);
static_assert(offsetof(RingSummary, longestWait) == 24);
static_assert(offsetof(RingSummary, fill) == 32);
static_assert(offsetof(RingSummary, size) == 36);

enum class Direction : std::uint32_t { ToServer = 0, ToClient = 1 };

/// Most sound bytes of one record.
inline constexpr std::size_t MAXIMUM_SOUND = 64 << 10;

/// Begins a sound record; the bytes that went through the ring follow.
struct SoundHeader {
    std::uint64_t position;   // 0   of the first byte, bytes since the stream's creation
    std::uint32_t direction;  // 8   Direction
    std::uint32_t spare12;    // 12  0
};
static_assert(sizeof(SoundHeader) == 16);
static_assert(offsetof(SoundHeader, direction) == 8);
static_assert(offsetof(SoundHeader, spare12) == 12);

struct LostRecords {
    std::uint64_t count;  // 0  records that were dropped because the reader was slow
};
static_assert(sizeof(LostRecords) == 8);

// ---- pcapng: blocks around the records ----------------------------------------------------------

inline constexpr std::uint32_t SECTION_BLOCK = 0x0A0D0D0A;
inline constexpr std::uint32_t INTERFACE_BLOCK = 1;
inline constexpr std::uint32_t PACKET_BLOCK = 6;
inline constexpr std::uint32_t BYTE_ORDER_WORD = 0x1A2B3C4D;
inline constexpr std::uint16_t LINK_TYPE = 147;  // LINKTYPE_USER0
inline constexpr std::uint16_t OPTION_RESOLUTION = 9;
inline constexpr std::uint16_t OPTION_TIME_OFFSET = 14;
inline constexpr std::uint8_t NANOSECONDS = 9;  // as a time resolution: 10 to the power of -9

/// The whole block that begins a file.
struct SectionBlock {
    std::uint32_t type;              // 0   SECTION_BLOCK
    std::uint32_t length;            // 4   of the block
    std::uint32_t byteOrder;         // 8   BYTE_ORDER_WORD
    std::uint16_t major;             // 12  1
    std::uint16_t minor;             // 14  0
    std::uint32_t sectionLength[2];  // 16  all ones: not told
    std::uint32_t trailer;           // 24  = length
};
static_assert(sizeof(SectionBlock) == 28);
static_assert(offsetof(SectionBlock, sectionLength) == 16);
static_assert(offsetof(SectionBlock, trailer) == 24);

/// The whole block that describes the only interface.
struct InterfaceBlock {
    std::uint32_t type;              // 0   INTERFACE_BLOCK
    std::uint32_t length;            // 4   of the block
    std::uint16_t linkType;          // 8   LINK_TYPE
    std::uint16_t spare10;           // 10  0
    std::uint32_t snapLength;        // 12  0: packets are never cut
    std::uint16_t resolutionCode;    // 16  OPTION_RESOLUTION
    std::uint16_t resolutionLength;  // 18  1
    std::uint8_t resolution[4];      // 20  NANOSECONDS and three zeros
    std::uint32_t endOfOptions;      // 24  0
    std::uint32_t trailer;           // 28  = length
};
static_assert(sizeof(InterfaceBlock) == 32);
static_assert(offsetof(InterfaceBlock, linkType) == 8);
static_assert(offsetof(InterfaceBlock, snapLength) == 12);
static_assert(offsetof(InterfaceBlock, resolution) == 20);
static_assert(offsetof(InterfaceBlock, trailer) == 28);

/// Begins a packet's block. The data, padded with zeros to a multiple of four bytes, and the
/// block's length follow.
struct PacketHeader {
    std::uint32_t type;       // 0   PACKET_BLOCK
    std::uint32_t length;     // 4   of the block
    std::uint32_t interface;  // 8   0
    std::uint32_t timeHigh;   // 12  nanoseconds since 1970, upper half
    std::uint32_t timeLow;    // 16  lower half
    std::uint32_t captured;   // 20  bytes of data, without padding
    std::uint32_t original;   // 24  = captured
};
static_assert(sizeof(PacketHeader) == 28);
static_assert(offsetof(PacketHeader, timeHigh) == 12);
static_assert(offsetof(PacketHeader, captured) == 20);
static_assert(offsetof(PacketHeader, original) == 24);

/// Bytes behind a packet's data, before the length that ends its block.
constexpr std::uint32_t paddingOf(std::uint32_t bytes) {
    return (4 - bytes % 4) % 4;
}

inline constexpr SectionBlock SECTION = {
    SECTION_BLOCK,      sizeof(SectionBlock), BYTE_ORDER_WORD, 1, 0,
    {UNKNOWN, UNKNOWN}, sizeof(SectionBlock)};
inline constexpr InterfaceBlock INTERFACE = {INTERFACE_BLOCK,
                                             sizeof(InterfaceBlock),
                                             LINK_TYPE,
                                             0,
                                             0,
                                             OPTION_RESOLUTION,
                                             1,
                                             {NANOSECONDS, 0, 0, 0},
                                             0,
                                             sizeof(InterfaceBlock)};

/// The header of the block of a packet.
/// @param time  nanoseconds since 1970
/// @param data  bytes of the RecordHeader and of what follows it
constexpr PacketHeader packetHeader(std::uint64_t time, std::uint32_t data) {
    const auto length = static_cast<std::uint32_t>(sizeof(PacketHeader)) + data + paddingOf(data) +
                        static_cast<std::uint32_t>(sizeof(std::uint32_t));
    return {PACKET_BLOCK,
            length,
            0,
            static_cast<std::uint32_t>(time >> 32),
            static_cast<std::uint32_t>(time),
            data,
            data};
}

}  // namespace cabinaudio::trace
