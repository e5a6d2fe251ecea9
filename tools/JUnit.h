// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// One test of a suite, as servers for continuous integration read it.
struct JUnitCase {
    enum class Result : std::uint8_t { Met, Failure, Error, Skipped };

    std::string className;
    std::string name;
    Result result = Result::Met;
    std::string message;  // unless it is met
    std::string file;     // of its source; empty: none
    int line = 0;         // there; 0: none
};

struct JUnitSuite {
    std::string name;
    std::vector<JUnitCase> cases;
    std::vector<std::string> attachments;  // paths
};

/// @throws Failure when the file cannot be written
void writeJUnit(const std::string& path, const JUnitSuite& suite);

}  // namespace cabinaudio::tool
