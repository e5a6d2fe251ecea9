// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A record whose fields all differ from their defaults.
[[nodiscard]] trace::Record fullRecord(std::size_t bytes);

/// What a reader of these bytes gives.
struct Captured {
    std::vector<trace::Record> records;
    std::string error;  // of the read behind the records; empty at the end of the capture
};
/// Reads from a file with these bytes. @param name  how errors call it
[[nodiscard]] Captured readBack(const std::vector<std::uint8_t>& bytes, const std::string& name);

}  // namespace cabinaudio::test
