// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMark.h>

#include "tests/support/Logged.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

TEST(Mark, IsSilentForAnyArguments) {
    const LogCapture log;
    {
        const AudioMark::AutoMark mark("file", "function", 1);
        const AudioMark::AutoMark nothing(nullptr, nullptr, 0);
        AudioMark::mark("file", "function");
        AudioMark::mark(nullptr, nullptr);
    }
    EXPECT_TRUE(logIsEmpty(log));
}

}  // namespace
}  // namespace cabinaudio::test
