// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace cabinaudio::bench {

/// How a program measures; the values given here are the defaults shown by --help.
struct Options {
    int rounds;           ///< each program runs once in every round
    int repeats;          ///< measurements of one program in one round
    int cpu = -1;         ///< -1: the last one that may be used
    bool anyCpu = false;  ///< do not pin
    std::string json{};   ///< file, empty for none
};

/// Reads the command line; the flags of Google Benchmark are understood as well.
/// @param options  the defaults, changed by what was given
/// @return an exit status when the program has to end: help was asked for, or the line is wrong
std::optional<int> readCommandLine(int argc, char** argv, const std::string& what,
                                   Options& options);

}  // namespace cabinaudio::bench
