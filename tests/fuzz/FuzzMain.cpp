// SPDX-License-Identifier: Apache-2.0
//
// What all of libFuzzer's programs begin with.
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
