// SPDX-License-Identifier: Apache-2.0
//
// libFuzzer's program: `settings-fuzz -max_total_time=60 CORPUS`.
#include "tests/fuzz/SettingsDriver.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static cabinaudio::fuzz::SettingsDriver driver;
    driver.run(data, size);
    return 0;
}
