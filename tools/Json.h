// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ExitCode.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace cabinaudio::tool {

/// Keys keep their order, so that outputs can be compared as text.
using Json = nlohmann::ordered_json;

/// null for an empty text or an absent time.
[[nodiscard]] Json orNull(const std::string& text);
[[nodiscard]] Json orNull(const std::optional<double>& ms);

/// The text of a key; empty when there is none.
[[nodiscard]] std::string textAt(const Json& object, const char* key);

/// Rounded to a microsecond; more digits would be noise.
[[nodiscard]] double roundedMs(double ms);

/// "done", "wrong_usage", "no_server", ...
[[nodiscard]] const char* endName(ExitCode code);

/// Adds how a command has ended: "error", the text or null, and "exit", the status. The last object
/// that a command prints has these.
void addEnd(Json& report, ExitCode code, const std::string& error);

/// Prints {"ended": ..., "error": ..., "exit": ...}, for a command without a report of its own.
void printEnd(ExitCode code, const std::string& error);

/// Prints one value as one line on stdout, and flushes.
void printJson(const Json& value);

}  // namespace cabinaudio::tool
