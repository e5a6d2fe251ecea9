// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ProcessState.h"
#include "tests/tools/ToolTest.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace cabinaudio::test {

/// A server with a stream that sounds as long as the test needs it.
class PlayingToolTest : public ToolTest {
protected:
    /// Returns when the server plays it.
    void playForever(const std::string& name) {
        writeSound(file("sound.wav"), {.frames = 480000});
        mPlayer = std::make_unique<ToolProcess>(
            Words{"play", "--tag", "auxiliary", "--name", name, file("sound.wav")});
        ASSERT_TRUE(eventually(
            [&] { return mServer->command("state").find("\"active\"") != std::string::npos; }));
    }

    std::unique_ptr<ToolProcess> mPlayer;
};

}  // namespace cabinaudio::test
