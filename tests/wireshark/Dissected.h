// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// Bytes of each packet in front of those of its record.
inline constexpr std::size_t RECORD_HEADER = 32;

/// A line of a packet's details.
struct ShownField {
    std::string name;   // in filters; "" for a heading
    std::string text;   // as shown to people
    std::string value;  // the bytes, hexadecimal; "" for what has none
    std::size_t at = 0;
    std::size_t size = 0;  // 0: not from bytes of the packet
    bool isLeaf = false;
};

/// What the dissector makes of one packet.
struct ShownPacket {
    std::vector<ShownField> fields;

    /// The first field of that name, null without one.
    [[nodiscard]] const ShownField* find(const std::string& name) const;
    /// The field that covers exactly these bytes, null without one.
    [[nodiscard]] const ShownField* at(std::size_t begin, std::size_t size) const;
    /// Texts of all fields of that name.
    [[nodiscard]] std::vector<std::string> texts(const std::string& name) const;
    /// Names of the expert notes, without what they have in common, sorted.
    [[nodiscard]] std::vector<std::string> notes() const;
    /// The first byte that no leaf covers; `size` when there is none.
    [[nodiscard]] std::size_t firstUncovered(std::size_t size) const;
};

/// Every packet of a capture, in two passes as in Wireshark's window. Fails the test when the
/// dissector has an error.
[[nodiscard]] std::vector<ShownPacket> dissect(const std::string& capture);
/// The same for a capture with these records.
[[nodiscard]] std::vector<ShownPacket> dissect(const std::vector<trace::Record>& records);

/// The line of each packet that the filter selects: source, destination and information.
[[nodiscard]] std::vector<std::string> lines(const std::string& capture,
                                             const std::string& filter = "");

}  // namespace cabinaudio::test
