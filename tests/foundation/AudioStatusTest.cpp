// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

TEST(Status, HasTheNumberOfTheInterface) {
    EXPECT_EQ(AUDIO_NO_ERROR, 0);
    EXPECT_EQ(AUDIO_NOT_CONNECTED, -1000);
    EXPECT_EQ(AUDIO_NO_MEMORY, -1990);
    EXPECT_EQ(AUDIO_TIMED_OUT, -2000);
    EXPECT_EQ(AUDIO_BAD_SEQUENCE, -2992);
    EXPECT_EQ(AUDIO_BAD_VALUE, -3000);
    EXPECT_EQ(AUDIO_INVALID_OPERATION, -8000);
    EXPECT_EQ(AUDIO_INVALID_STATE, -9998);
    EXPECT_EQ(sizeof(AudioStatus), 4U);
}

}  // namespace
}  // namespace cabinaudio::test
