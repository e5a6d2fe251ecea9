// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ProcessState.h"

#include <android/log.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace {

/// Removes what the instance has left in shared memory: the stand-in's physical memory, and the
/// rings of peers that were killed.
void removeLeftovers(const std::string& instance) {
    const std::string memory = "cabinaudio-physmem-" + std::to_string(geteuid()) + "-" + instance;
    const std::string objects = "cabinaudio." + instance + ".";
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", gone)) {
        const std::string name = entry.path().filename();
        if (name == memory || name.rfind(objects, 0) == 0)
            std::filesystem::remove(entry.path(), gone);
    }
}

/// A sanitizer starts a thread of its own with the first one of the program; tests that count
/// threads want it to be there already, and this first one to be gone: in an emulator a thread is
/// listed for some time after it was joined.
void startFirstThread() {
    std::string task;
    std::thread([&task] { task = "/proc/self/task/" + std::to_string(gettid()); }).join();
    if (!cabinaudio::test::eventually([&task] { return access(task.c_str(), F_OK) != 0; }))
        std::abort();
}

}  // namespace

/// Gives every test process a server name, physical memory and object names of its own, unless the
/// caller chose them, and keeps the library's log off the test's output.
int main(int argc, char** argv) {
    const bool chosen = std::getenv("CABINAUDIO_INSTANCE") != nullptr;
    const std::string own = "test" + std::to_string(getpid());
    setenv("CABINAUDIO_INSTANCE", own.c_str(), 0);
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    startFirstThread();
    testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const int result = RUN_ALL_TESTS();
    if (!chosen) removeLeftovers(own);
    return result;
}
