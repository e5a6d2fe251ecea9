// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Interruptions.h"

#include "tests/support/Metronome.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>

namespace cabinaudio::test {
namespace {

constexpr int MOST_ATTEMPTS = 10;
constexpr const char* ATTEMPT = "CABINAUDIO_TEST_ATTEMPT";

// The program and the options by which the build runs this one, separated by blanks.
constexpr const char* EMULATOR = "CABINAUDIO_TEST_EMULATOR";

int attemptOfThisProcess() {
    const char* const attempt = std::getenv(ATTEMPT);
    return attempt != nullptr ? std::atoi(attempt) : 1;
}

/// Replaces this program by one with these arguments, the first of them its path.
void replaceProgram(const std::vector<std::string>& arguments) {
    const char* const emulator = std::getenv(EMULATOR);
    std::istringstream line(emulator != nullptr ? emulator : "");
    std::vector<std::string> words(std::istream_iterator<std::string>(line), {});
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    execvp(pointers[0], pointers.data());
    std::perror("the program cannot be started again");
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

void Interruptions::repeatFailedCases(std::vector<std::string> arguments) const {
    const int attempt = attemptOfThisProcess();
    if (mInterrupted.empty() || mHasOthers || attempt >= MOST_ATTEMPTS) return;
    std::printf("the machine stood still for %lld ms: once more, attempt %d\n", mLongestMs,
                attempt + 1);
    std::fflush(nullptr);
    setenv(ATTEMPT, std::to_string(attempt + 1).c_str(), 1);
    arguments.push_back("--gtest_filter=" + mInterrupted);  // the last filter counts
    Metronome::end();
    replaceProgram(arguments);
}

}  // namespace cabinaudio::test
