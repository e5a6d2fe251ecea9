// SPDX-License-Identifier: Apache-2.0
//
// libFuzzer's program: `settings-fuzz -max_total_time=60 CORPUS`.
#include "tests/fuzz/SettingsDriver.h"

#include <android/log.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    setenv("CABINAUDIO_INSTANCE", ("fuzz" + std::to_string(getpid())).c_str(), 0);
    // Lines are still formatted: their arguments are looked at as well.
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static cabinaudio::fuzz::SettingsDriver driver;
    driver.run(data, size);
    return 0;
}
