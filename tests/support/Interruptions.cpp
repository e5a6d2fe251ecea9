// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Interruptions.h"

#include "tests/support/Metronome.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cabinaudio::test {
namespace {

constexpr int MOST_ATTEMPTS = 10;
constexpr const char* ATTEMPT = "CABINAUDIO_TEST_ATTEMPT";

int attemptOfThisProcess() {
    const char* const attempt = std::getenv(ATTEMPT);
    return attempt != nullptr ? std::atoi(attempt) : 1;
}

}  // namespace

void Interruptions::OnTestStart(const testing::TestInfo&) {
    Metronome::startCase();
}

void Interruptions::OnTestEnd(const testing::TestInfo& test) {
    if (!test.result()->Failed()) return;
    const auto pause = Metronome::longestPause();
    if (pause < Metronome::bridged()) {
        mHasOthers = true;
        return;
    }
    mLongestMs = std::max<long long>(mLongestMs, pause.count());
    mInterrupted +=
        (mInterrupted.empty() ? "" : ":") + std::string(test.test_suite_name()) + "." + test.name();
}

void Interruptions::OnTestSuiteEnd(const testing::TestSuite& suite) {
    if (suite.ad_hoc_test_result().Failed()) mHasOthers = true;
}

void Interruptions::repeatFailedCases(std::vector<char*> arguments) const {
    const int attempt = attemptOfThisProcess();
    if (mInterrupted.empty() || mHasOthers || attempt >= MOST_ATTEMPTS) return;
    std::printf("the machine stood still for %lld ms: once more, attempt %d\n", mLongestMs,
                attempt + 1);
    std::fflush(nullptr);
    setenv(ATTEMPT, std::to_string(attempt + 1).c_str(), 1);
    std::string filter = "--gtest_filter=" + mInterrupted;
    arguments.insert(arguments.end() - 1, filter.data());  // the last filter counts
    execv("/proc/self/exe", arguments.data());
}

}  // namespace cabinaudio::test
