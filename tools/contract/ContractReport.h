// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Run.h"
#include "tools/ExitCode.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

struct ContractReport {
    contract::Report run;
    std::string signal;  // that has ended the run; empty: none

    [[nodiscard]] ExitCode code() const;
    /// Why the status is not 0; empty when it is.
    [[nodiscard]] std::string error() const;
};

/// The line of a rule that was checked.
[[nodiscard]] std::string lineOf(const contract::Result& result);

/// Prints what remains after the lines of the rules, or everything as JSON.
void printEnd(const ContractReport& report, bool json);

void printRules(const std::vector<const contract::Rule*>& rules, bool json);

/// @throws Failure when the file cannot be written
void writeJUnit(const std::string& path, const ContractReport& report);

}  // namespace cabinaudio::tool
