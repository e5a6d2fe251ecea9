// SPDX-License-Identifier: Apache-2.0
#include "tests/support/InstanceFiles.h"
#include "tests/support/Metronome.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealTimeRight.h"

#include <android/log.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

// Where the program has the thread sanitizer.
extern "C" __attribute__((weak)) void __tsan_acquire(void* address);

namespace {

/// A sanitizer starts a thread of its own with the first one of the program; tests that count
/// threads want it to be there already, and this first one to be gone: in an emulator a thread is
/// listed for some time after it was joined.
void startFirstThread() {
    std::string task;
    std::thread([&task] { task = "/proc/self/task/" + std::to_string(gettid()); }).join();
    if (!cabinaudio::test::eventually([&task] { return access(task.c_str(), F_OK) != 0; }))
        std::abort();
}

constexpr int MOST_ATTEMPTS = 10;
constexpr const char* ATTEMPT = "CABINAUDIO_TEST_ATTEMPT";

/// Test programs that a test starts run all of their own tests: GoogleTest has divided this
/// program's when this is set up.
class ShardsOfThisProgramOnly : public testing::Environment {
    void SetUp() override {
        unsetenv("GTEST_TOTAL_SHARDS");
        unsetenv("GTEST_SHARD_INDEX");
    }
};

/// The failed cases as a filter; empty when a failure belongs to none.
std::string failedCases() {
    std::string names;
    const auto& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const auto& suite = *all.GetTestSuite(i);
        if (suite.ad_hoc_test_result().Failed()) return {};
        for (int k = 0; k < suite.total_test_count(); ++k) {
            const auto& test = *suite.GetTestInfo(k);
            if (!test.result()->Failed()) continue;
            names += (names.empty() ? "" : ":") + std::string(suite.name()) + "." + test.name();
        }
    }
    return names;
}

/// Begins the program anew, with its failed cases only, when it failed with a server at real pace
/// while the machine stood still: sound was lost then, or a wait was over, for no reason of the
/// program's. Returns when it did not, or when it has been tried often enough.
void repeatAfterPause(std::vector<char*> arguments) {
    const char* const before = std::getenv(ATTEMPT);
    const int attempt = before != nullptr ? std::atoi(before) : 1;
    const auto pause = cabinaudio::test::Metronome::longestPause();
    if (pause < cabinaudio::test::Metronome::bridged() || attempt >= MOST_ATTEMPTS) return;
    std::printf("the machine stood still for %lld ms: once more, attempt %d\n",
                static_cast<long long>(pause.count()), attempt + 1);
    std::fflush(nullptr);
    setenv(ATTEMPT, std::to_string(attempt + 1).c_str(), 1);
    std::string filter = "--gtest_filter=" + failedCases();
    if (!failedCases().empty()) {
        // The last one counts.
        arguments.insert(arguments.end() - 1, filter.data());
    }
    execv("/proc/self/exe", arguments.data());
}

}  // namespace

/// Gives every test process a server name, physical memory and object names of its own, unless the
/// caller chose them, and keeps the library's log off the test's output.
int main(int argc, char** argv) {
    // The thread sanitizer's threads spin until those that they wait for have run, which a
    // real-time thread does not let them: both processors then do nothing else for 95 % of the
    // time.
    if (&__tsan_acquire != nullptr) cabinaudio::test::giveUpRealTime();
    std::vector<char*> arguments(argv, argv + argc + 1);
    const bool chosen = std::getenv("CABINAUDIO_INSTANCE") != nullptr;
    const std::string own = "test" + std::to_string(getpid());
    // An earlier process of that number may have been killed.
    if (!chosen) cabinaudio::test::removeInstanceFiles(own);
    setenv("CABINAUDIO_INSTANCE", own.c_str(), 0);
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    startFirstThread();
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new ShardsOfThisProgramOnly);  // GoogleTest deletes it
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const int result = RUN_ALL_TESTS();
    if (!chosen) {
        cabinaudio::test::removeInstanceFiles(own);
        unsetenv("CABINAUDIO_INSTANCE");
    }
    if (result != 0) repeatAfterPause(arguments);
    return result;
}
