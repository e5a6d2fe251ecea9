// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace cabinaudio::run {

/// Exit codes of the launcher itself; other codes come from the program.
constexpr int DONE = 0;
constexpr int REFUSED = 1;
constexpr int USAGE = 2;
constexpr int TIMED_OUT = 4;
constexpr int NOT_EXECUTABLE = 126;  // as shells do
constexpr int NOT_FOUND = 127;

/// Why the program is not started: one line for the user, and the exit code.
class Refusal : public std::runtime_error {
public:
    explicit Refusal(const std::string& line, int exitCode = REFUSED)
        : std::runtime_error(line), mExitCode(exitCode) {}

    int exitCode() const noexcept { return mExitCode; }

private:
    int mExitCode;
};

/// "FAILED: " followed by the system's text for errno.
std::string withReason(const std::string& failed);

}  // namespace cabinaudio::run
