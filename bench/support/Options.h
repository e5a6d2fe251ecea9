// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace cabinaudio::bench {

/// Measuring options of a program; its values are the defaults shown by --help.
struct Options {
    int rounds;           // each program runs once per round
    int repeats;          // measurements of a program per round
    int cpu = -1;         // -1: the last permitted one
    bool anyCpu = false;  // do not pin
    std::string json{};   // file, empty for none
};

/// Reads the command line; Google Benchmark's flags are accepted too.
/// @param options  the defaults; overwritten with the given values
/// @return an exit status when the program must end: help was requested, or the line is invalid
std::optional<int> readCommandLine(int argc, char** argv, const std::string& what,
                                   Options& options);

}  // namespace cabinaudio::bench
