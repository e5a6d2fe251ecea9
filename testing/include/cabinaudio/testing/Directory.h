// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::testing {

/// A directory for the files of one test: sound, report, pictures, logs.
///
/// The files of a failed test stay: when CABINAUDIO_TEST_OUTPUT of the environment names a
/// directory, a test that has failed keeps this directory in it, as SUITE.TEST, and the test's
/// properties (GoogleTest's `--gtest_output`) have its path. In all other cases the directory is
/// removed by the destructor. Any thread.
class TestDirectory {
public:
    /// Makes a directory below CABINAUDIO_TEST_OUTPUT, otherwise below TMPDIR or /tmp. What an
    /// earlier run of the same test has left there is removed.
    /// @throws Failure when it cannot be made
    TestDirectory();
    ~TestDirectory();
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    /// Absolute.
    [[nodiscard]] const std::string& path() const { return mPath; }
    /// The path of a file in it.
    [[nodiscard]] std::string file(const std::string& name) const { return mPath + "/" + name; }
    /// Whether the directory stays if the running test fails.
    [[nodiscard]] bool isKeptOnFailure() const { return mIsKeptOnFailure; }

private:
    std::string mPath;
    bool mIsKeptOnFailure = false;
};

}  // namespace cabinaudio::testing
