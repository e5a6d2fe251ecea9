// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace cabinaudio::test {

/// Compares a value with a definition of the installed schema, tools/cabinaudio.schema.json.
///
/// Knows the keywords that the schema uses, and throws std::logic_error at any other one: a keyword
/// that is not looked at would be a check that cannot fail. Debian's validator for C++ needs Qt.
/// @param definition  "play", "state", ...
/// @return what is wrong and where; empty if nothing is
[[nodiscard]] std::string schemaFault(const std::string& definition, const nlohmann::json& value);

/// The same with a schema of the test's own.
[[nodiscard]] std::string schemaFault(const nlohmann::json& schema, const std::string& definition,
                                      const nlohmann::json& value);

/// Expects that the value is as defined; fails the current test otherwise.
void expectSchema(const std::string& definition, const nlohmann::json& value);

/// Expects that each line of the output of a command with --json is a JSON value as defined for the
/// command.
/// @param command  its words: {"play", "a.wav", "--json"}
void expectJsonOf(const std::vector<std::string>& command, const std::string& output);

}  // namespace cabinaudio::test
