// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Heard.h>

#include <chrono>
#include <iosfwd>
#include <string>

namespace cabinaudio::testing {

/// How a scenario ended.
struct ScenarioResult {
    int exitStatus = -1;    ///< of `cabinaudio scenario`: 0 when all expectations are met
    std::string output;     ///< a line for each expectation
    std::string log;        ///< what the tool said on stderr
    std::string directory;  ///< sound, report, stems and logs

    [[nodiscard]] bool isMet() const { return exitStatus == 0; }
    /// What came out of the loudspeakers. @throws Failure when there is no such file
    [[nodiscard]] Heard heard() const;
};

/// The tool's lines.
void PrintTo(const ScenarioResult& result, std::ostream* out);

/// Runs a scenario file with `cabinaudio scenario`, which is CABINAUDIO_TOOL of the environment or
/// in PATH. The scenario has servers of its own.
/// @param directory  in which a directory for its files is made; must exist
/// @throws Failure when the tool cannot be started, or the bound is over
[[nodiscard]] ScenarioResult runScenario(const std::string& file, const std::string& directory,
                                         std::chrono::milliseconds bound = std::chrono::minutes(2));

}  // namespace cabinaudio::testing
