// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMark.h>

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

using cabinaudio::test::LogCapture;

TEST(AMark, IsSilentAndTakesAnything) {
    const LogCapture log;
    {
        const AudioMark::AutoMark mark("file", "function", 1);
        const AudioMark::AutoMark nothing(nullptr, nullptr, 0);
        AudioMark::mark("file", "function");
        AudioMark::mark(nullptr, nullptr);
    }
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}
