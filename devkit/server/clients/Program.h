// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::server {

/// Name of the program that a process runs; empty when the process is unknown here.
[[nodiscard]] std::optional<std::string> programOf(std::int32_t process);

}  // namespace cabinaudio::server
