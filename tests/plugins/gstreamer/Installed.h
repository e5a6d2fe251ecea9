// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Process.h"

#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <utility>

namespace cabinaudio::test {

/// Whether a shell finds the program.
inline bool isInstalled(const std::string& program) {
    std::istringstream path(std::getenv("PATH"));
    for (std::string directory; std::getline(path, directory, ':');)
        if (access((directory + "/" + program).c_str(), X_OK) == 0) return true;
    return false;
}

/// A program that is found as by a shell.
inline Start program(Words words) {
    words.insert(words.begin(), "/usr/bin/env");
    Start start;
    start.words = std::move(words);
    start.input = "/dev/null";
    return start;
}

}  // namespace cabinaudio::test
