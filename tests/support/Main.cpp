// SPDX-License-Identifier: Apache-2.0
#include "tests/support/InstanceFiles.h"
#include "tests/support/Interruptions.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealTimeRight.h"

#include <android/log.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

/// Test programs that a test starts run all of their own tests: GoogleTest has divided this
/// program's when this is set up.
class ShardsOfThisProgramOnly : public testing::Environment {
    void SetUp() override {
        unsetenv("GTEST_TOTAL_SHARDS");
        unsetenv("GTEST_SHARD_INDEX");
    }
};

}  // namespace

/// Gives every test process a server name, physical memory and object names of its own, unless the
/// caller chose them, and keeps the library's log off the test's output.
int main(int argc, char** argv) {
    // The thread sanitizer's threads spin until those that they wait for have run, which a
    // real-time thread does not let them: both processors then do nothing else for 95 % of the
    // time.
    if (&__tsan_acquire != nullptr) cabinaudio::test::giveUpRealTime();
    const std::vector<std::string> arguments(argv, argv + argc);
    const bool chosen = std::getenv("CABINAUDIO_INSTANCE") != nullptr;
    const std::string own = "test" + std::to_string(getpid());
    // An earlier process of that number may have been killed.
    if (!chosen) cabinaudio::test::removeInstanceFiles(own);
    setenv("CABINAUDIO_INSTANCE", own.c_str(), 0);
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    startFirstThread();
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new ShardsOfThisProgramOnly);  // GoogleTest deletes both
    auto* const interruptions = new cabinaudio::test::Interruptions;
    testing::UnitTest::GetInstance()->listeners().Append(interruptions);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const int result = RUN_ALL_TESTS();
    if (!chosen) {
        cabinaudio::test::removeInstanceFiles(own);
        unsetenv("CABINAUDIO_INSTANCE");
    }
    if (result != 0) interruptions->repeatFailedCases(arguments);
    return result;
}
