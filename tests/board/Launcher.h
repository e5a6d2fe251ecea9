// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/board/Surroundings.h"
#include "tests/support/Files.h"
#include "tests/support/Process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {

/// Starts programs through cabinaudio-run, in a directory, home and instance of the test's own.
class WithTheLauncher : public ::testing::Test {
protected:
    /// `words` are the launcher's: options, program, arguments.
    Start launching(const Words& words) const;
    Outcome launch(const Words& words) const { return runProgram(launching(words)); }
    Outcome launchExpecting(int status, const Words& words, const char* file = __builtin_FILE(),
                            int line = __builtin_LINE()) const {
        return Process(launching(words)).finishExpecting(status, file, line);
    }

    std::filesystem::path directory() const { return mDirectory.path(); }
    std::filesystem::path home() const { return mDirectory.path() / "home"; }

    /// Copies of launcher, library and plain program, side by side in a new directory.
    std::filesystem::path copyOfAll(const std::string& directoryName) const;

    std::string mLauncher = BOARD_TEST_LAUNCHER;
    OwnInstance mInstance;

private:
    TemporaryDirectory mDirectory;
};

/// The plain program of tests/board/helpers.
constexpr char PROBE[] = BOARD_TEST_PROBE;

/// A shell script that starts with "#!/bin/sh".
void writeScript(const std::filesystem::path& path, const std::string& text);

/// The value of a variable in the report of the probe.
std::string variableIn(const std::string& report, const std::string& name);

/// Whether a text is exactly one line.
MATCHER(IsOneLine, negation ? "is not one line" : "is one line") {
    return std::count(arg.begin(), arg.end(), '\n') == 1 && arg.back() == '\n';
}

}  // namespace cabinaudio::test
