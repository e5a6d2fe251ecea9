// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

// The catalogue of wire/ as data, for programs that show messages by name: each operation with the
// fields of its request and its reply, and each notification. WireFields.cpp is generated from the
// headers in wire/ by devkit/protocol/.
namespace cabinaudio::trace {

/// Type of the elements of a field. Numbers are little-endian.
enum class FieldType : std::uint8_t {
    U8,
    U16,
    U32,
    U64,
    I32,
    F32,
    Text,    // zero-padded; a text that fills its field has no terminator
    Bytes,   // their meaning is the server's
    Unused,  // sent as 0, not read
    Record,  // a list's slots
};

struct WireRecord;

/// Name of a value of a field.
struct WireChoice {
    std::int64_t value;
    const char* name;  // the enumerator
};

/// A field of a record. The fields of a record cover all of its bytes, in order.
struct WireField {
    const char* name;                     // as declared in wire/; unique in its record
    unsigned offset;                      // bytes from the beginning of the record
    FieldType type;                       // of an element
    unsigned count;                       // elements: above 1 for arrays and lists
    const char* unit;                     // "dB", "ms", "us", "Hz", "bytes", ...; "" without one
    unsigned size;                        // bytes of an element
    const WireRecord* slots;              // FieldType::Record: the record of an element
    std::span<const WireChoice> choices;  // may be empty; other values are possible, too
    bool isMask;                          // the choices are bits
};

/// The record of a list's slots is preceded by the field "count", the number of used ones.
struct WireRecord {
    const char* name;
    unsigned size;  // bytes, without a block
    std::span<const WireField> fields;
    bool hasBlock;  // followed by a block: the last field, "size", gives its bytes. The block of a
                    // reply has the size that its request named, and is missing when that was 0
};

/// An operation on one connection type.
struct WireOperation {
    std::uint32_t connection;  // audio_connect_type
    std::uint32_t function;
    const char* name;           // of the public operation; overloads share one
    const WireRecord* request;  // payload behind the audio_param, from the function id on
    const WireRecord* reply;    // body behind the frame header, from the status on
    bool hasFlag;               // sent under the command word with the flag
    const char* enumerator;     // of the function id: unique on its connection type
    const char* meaning;        // a few words
    const char* valueUnit;      // unit of the fields named "value", "" without one
};

/// A notification on one connection type.
struct WireEvent {
    std::uint32_t connection;  // audio_connect_type
    std::uint32_t event;
    const char* name;  // the enumerator
};

/// All operations, sorted by connection type and function id.
[[nodiscard]] std::span<const WireOperation> wireOperations();
/// Null for an unknown one.
[[nodiscard]] const WireOperation* findOperation(std::uint32_t connection, std::uint32_t function);

/// All notifications, sorted by connection type and number.
[[nodiscard]] std::span<const WireEvent> wireEvents();
/// Null for an unknown one.
[[nodiscard]] const WireEvent* findEvent(std::uint32_t connection, std::uint32_t event);

/// Enumerators of audio_connect_type.
[[nodiscard]] std::span<const WireChoice> connectionTypes();
/// Enumerators of AudioStatus.
[[nodiscard]] std::span<const WireChoice> statusCodes();
/// The enumerator of a value, null for a value without one.
[[nodiscard]] const char* nameOf(std::span<const WireChoice> choices, std::int64_t value);

/// Header of everything that a client sends; a registration is this record alone.
[[nodiscard]] const WireRecord& clientHeader();
/// Header of everything that the server sends; a notification is this record alone.
[[nodiscard]] const WireRecord& frameHeader();
/// Body of the reply to a registration.
[[nodiscard]] const WireRecord& registrationReply();

}  // namespace cabinaudio::trace
