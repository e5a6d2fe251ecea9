// SPDX-License-Identifier: Apache-2.0
//
// Cases that fail in different ways, for RepetitionTest.cpp.
#include "tests/support/Metronome.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

/// The fields of /proc/PID/stat: "PID (NAME) STATE PARENT GROUP ...".
bool isMetronomeOf(pid_t group, const std::filesystem::path& process) {
    std::ifstream file(process / "stat");
    const std::string stat(std::istreambuf_iterator<char>(file), {});
    const std::string name = " (metronome) ";
    const auto found = stat.find(name);
    if (found == std::string::npos) return false;
    std::istringstream rest(stat.substr(found + name.size()));
    std::string state;
    pid_t parent = 0;
    pid_t groupOfProcess = 0;
    rest >> state >> parent >> groupOfProcess;
    return groupOfProcess == group;
}

/// Also that of an earlier attempt, which may be about to end. @return whether there is one
bool signalMetronomes(int signal) {
    std::error_code gone;
    bool isFound = false;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", gone)) {
        const std::string number = entry.path().filename();
        if (number.find_first_not_of("0123456789") != std::string::npos) continue;
        if (!isMetronomeOf(getpgrp(), entry.path())) continue;
        kill(std::stoi(number), signal);
        isFound = true;
    }
    return isFound;
}

/// Lets the metronome believe that the machine stood still.
void pause() {
    Metronome::start();
    const auto isLate = [] { return Metronome::longestPause() >= Metronome::bridged(); };
    ASSERT_TRUE(eventually([&isLate] {
        // The metronome has its name before it has begun to measure: a first pause may go unseen.
        if (!signalMetronomes(SIGSTOP)) return false;
        std::this_thread::sleep_for(2 * Metronome::bridged());
        signalMetronomes(SIGCONT);
        return isLate() || eventually(isLate, std::chrono::milliseconds(100));
    }));
}

bool isFirstAttempt() {
    return std::getenv("CABINAUDIO_TEST_ATTEMPT") == nullptr;
}

class Case : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setpgid(0, 0); }
};

TEST_F(Case, FailsOnceAfterAPause) {
    pause();
    EXPECT_FALSE(isFirstAttempt());
}

TEST_F(Case, FailsOnceAfterAPauseToo) {
    pause();
    EXPECT_FALSE(isFirstAttempt());
}

TEST_F(Case, PassesAfterAPause) {
    pause();
}

TEST_F(Case, PassesWithSmallBuffers) {
    pause();
    Metronome::setBridged(std::chrono::milliseconds(0));
}

TEST_F(Case, FailsOnceWithoutAPause) {
    EXPECT_FALSE(isFirstAttempt());
}

}  // namespace
}  // namespace cabinaudio::test
