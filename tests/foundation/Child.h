// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::test {

/// How a child process ended, and its output.
struct ChildEnd {
    int status;          // as waitpid gives it
    std::string output;  // its log lines, each behind its priority and a blank, and its stderr

    [[nodiscard]] bool passed() const;
    [[nodiscard]] bool killedBy(int signal) const;
};

/// Runs `body` in a forked copy of this process, for what changes a process for good or ends it.
/// Expectations inside count: a failed one makes passed() false.
[[nodiscard]] ChildEnd runInChild(void (*body)());

}  // namespace cabinaudio::test
