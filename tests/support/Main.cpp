// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

/// Gives every test process a server name, physical memory and object names of its own, unless the
/// caller chose them, and keeps the library's log off the test's output.
int main(int argc, char** argv) {
    setenv("CABINAUDIO_INSTANCE", ("test" + std::to_string(getpid())).c_str(), 0);
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    return RUN_ALL_TESTS();
}
