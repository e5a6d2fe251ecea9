// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cabinaudio::test {

/// Begins the program anew, with its failed cases only, when each of them failed with a server at
/// real pace while the machine stood still: sound was lost then, or a wait was over, for no reason
/// of the program's.
class Interruptions : public testing::EmptyTestEventListener {
public:
    /// After all tests. Returns when a case failed by itself, or when it has been tried often
    /// enough.
    /// @param arguments  of the program, the first one its path
    void repeatFailedCases(std::vector<std::string> arguments) const;

private:
    void OnTestStart(const testing::TestInfo& test) override;
    void OnTestEnd(const testing::TestInfo& test) override;
    void OnTestSuiteEnd(const testing::TestSuite& suite) override;

    std::string mInterrupted;  // as a filter: the failed cases during which the machine stood still
    long long mLongestMs = 0;  // of their pauses
    bool mHasOthers = false;   // failures during which it did not
};

}  // namespace cabinaudio::test
