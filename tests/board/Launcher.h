// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/board/Process.h"
#include "tests/board/Surroundings.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {

/// Starts programs through cabinaudio-run, in a directory, home and instance of the test's own.
class WithTheLauncher : public ::testing::Test {
protected:
    /// `words` are the launcher's: options, program, arguments.
    Start launching(const std::vector<std::string>& words) const;
    Outcome launch(const std::vector<std::string>& words) const {
        return runProgram(launching(words));
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
constexpr char kProbe[] = BOARD_TEST_PROBE;

/// Whether `text` is exactly one line.
bool isOneLine(const std::string& text);

}  // namespace cabinaudio::test
