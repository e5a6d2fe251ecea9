// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/WireFields.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <span>

namespace cabinaudio::trace {

/// The fields of a record by name: {"gain": {"value": -3.0, "unit": "dB", "name": null}}. Without
/// the unused ones and the first, which is the function id or the status. `name` is that of a value
/// with a name. A block is a field "block" of hexadecimal digits, as are bytes without a meaning.
/// @param bytes  at least the size of the record
/// @param valueUnit  of fields named "value"; "" without one
[[nodiscard]] nlohmann::ordered_json fieldsOf(const WireRecord& record,
                                              std::span<const std::uint8_t> bytes,
                                              const char* valueUnit);

/// "00ff..."
[[nodiscard]] std::string hexOf(std::span<const std::uint8_t> bytes);

}  // namespace cabinaudio::trace
