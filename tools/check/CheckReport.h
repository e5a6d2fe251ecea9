// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Judge.h"
#include "tools/ExitCode.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

/// What `check` has found.
struct CheckReport {
    std::string file;  // "live" for a running server
    unsigned rate = 0;
    unsigned channels = 0;
    std::size_t frames = 0;
    std::string picture;  // absolute path; empty: none
    std::vector<hear::Verdict> verdicts;

    [[nodiscard]] std::size_t failures() const;
    [[nodiscard]] ExitCode code() const;
};

/// One line a check, or one JSON object.
void printReport(const CheckReport& report, bool json);

/// Writes a file for continuous integration: a suite for the sound, a case for each check.
/// @throws Failure
void writeJUnit(const std::string& path, const CheckReport& report);

/// The same for checks that could not be made: each case has the error.
void writeJUnitError(const std::string& path, const std::string& file,
                     const std::vector<std::string>& checks, const std::string& error);

}  // namespace cabinaudio::tool
