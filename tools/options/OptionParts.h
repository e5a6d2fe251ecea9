// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tools/CommonOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

/// What the options of several commands are made of. CLI11 is slow to compile: only the files of
/// this directory include it.
namespace cabinaudio::tool {

/// Says what is wrong with the argument of a server command, which extends to the end of a line.
[[nodiscard]] std::string argumentFault(const std::string& name);

[[nodiscard]] CLI::Validator oneOf(const std::vector<std::string>& names);
/// @param fault  returns why a text is refused, "" if it is not
[[nodiscard]] CLI::Validator check(std::string (*fault)(const std::string&), const char* name);
[[nodiscard]] CLI::Validator range(double lowest, double highest);

/// Output, server and log.
void addCommon(CLI::App& command, CommonOptions& common);
/// Seconds with a fraction, stored as milliseconds.
void addTimeout(CLI::App& command, std::chrono::milliseconds& timeout, const char* what);
void addInterval(CLI::App& command, std::chrono::milliseconds& interval, const char* what);
/// @param names  of the tags that are allowed; the first is the default
void addTag(CLI::App& command, AudioTagType& tag, const std::vector<std::string>& names,
            const char* what);
void addName(CLI::App& command, std::string& name);
void addBlock(CLI::App& command, bool& block, const char* ifBlocking, const char* ifNot);
void addStreamParam(CLI::App& command, int& streamParam);

/// An option whose value is a name of a table; the first one is the default.
template <typename Value, std::size_t SIZE>
CLI::Option& addChoice(CLI::App& command, const char* option, Value& value,
                       const std::pair<const char*, Value> (&table)[SIZE], const char* what) {
    std::vector<std::string> names;
    for (const auto& row : table)
        names.emplace_back(row.first);
    return *command
                .add_option_function<std::string>(
                    option,
                    [&value, &table](const std::string& name) {
                        value =
                            std::find_if(std::begin(table), std::end(table), [&](const auto& row) {
                                return name == row.first;
                            })->second;
                    },
                    what)
                ->type_name("NAME")
                ->check(oneOf(names))
                ->default_str(names.front());
}

}  // namespace cabinaudio::tool
