// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A capture that has been read.
struct Capture {
    std::vector<trace::Record> records;
    bool isCut = false;  // it ends with a part of a block

    /// All records of the connection that registered under this name; of the first if there are
    /// several.
    [[nodiscard]] std::vector<trace::Record> connectionNamed(const std::string& name) const;
    [[nodiscard]] std::vector<trace::Record> connection(std::uint32_t number) const;
    /// How many connections there are.
    [[nodiscard]] std::size_t connections() const;
};

[[nodiscard]] Capture readCapture(const std::string& file);

[[nodiscard]] std::vector<trace::Record> ofKind(const std::vector<trace::Record>& records,
                                                trace::Kind kind);

/// The bytes of all records of the kind, one behind the other.
[[nodiscard]] std::vector<std::uint8_t> joined(const std::vector<trace::Record>& records,
                                               trace::Kind kind);

/// Little-endian.
[[nodiscard]] std::uint32_t wordAt(const std::vector<std::uint8_t>& bytes, std::size_t at);

}  // namespace cabinaudio::test
