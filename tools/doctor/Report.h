// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/ServerQuery.h"
#include "tools/doctor/Archive.h"
#include "tools/doctor/ServerState.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

/// The doctor's findings for a report.
struct Findings {
    const ServerQuery& query;
    const ServerState& server;
    std::string text;  // the checks as lines
    Json checks;
};

/// The files of a report. Neither the environment nor the machine's name is in them.
/// @param logFile  with the library's log; empty for none
[[nodiscard]] std::vector<Member> membersOf(const Findings& findings, const std::string& logFile);

/// @throws Failure when the file exists
void requireAbsent(const std::string& file);

/// Makes a file that only its user can read.
/// @throws Failure when it exists or cannot be written; then it is as before
void writeReport(const std::string& file, const std::string& bytes);

}  // namespace cabinaudio::tool
