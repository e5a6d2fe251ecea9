// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/server/Sound.h"
#include "tests/server/State.h"
#include "tests/sound/SoundServer.h"
#include "tests/support/Files.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/SmallBuffers.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

/// Shared by the tests with sound servers and cards.
namespace cabinaudio::test {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr unsigned RATE = 48000;
constexpr unsigned CHANNELS = 2;

/// Whether `heard` contains all of `sent`: in order, nothing missing, nothing between.
[[nodiscard]] inline bool contains(const std::vector<std::int16_t>& heard,
                                   const std::vector<std::int16_t>& sent) {
    return std::search(heard.begin(), heard.end(), sent.begin(), sent.end()) != heard.end();
}

/// Whether the server was built with this output.
[[nodiscard]] inline bool isBuiltWith(const std::string& output) {
    Start start = {{RealServer::path(), "--output", output}};
    start.variables = {{"PULSE_SERVER", "unix:/nonexistent"}};
    return runProgram(start).err.find("built without") == std::string::npos;
}

/// A sound file, and the server and the tool that play it.
class SoundTest : public testing::Test, private SmallBuffers {
protected:
    /// For the server, which inherits it.
    SoundTest() { setenv("TSAN_OPTIONS", "suppressions=" CABINAUDIO_TEST_SUPPRESSIONS, 1); }
    ~SoundTest() override { unsetenv("TSAN_OPTIONS"); }

    void makeSound(std::chrono::milliseconds length) {
        mSent = noise16(static_cast<std::size_t>(length.count()) * RATE / 1000 * CHANNELS);
        writeWav(soundFile(), RATE, CHANNELS, mSent);
    }
    [[nodiscard]] std::string soundFile() const { return mDirectory.file("sound.wav"); }

    [[nodiscard]] json output() const { return stateOf(*mServer).at("output"); }
    [[nodiscard]] bool logs(const std::string& text) const {
        return eventually([&] { return mServer->output().find(text) != std::string::npos; });
    }

    TemporaryDirectory mDirectory;
    std::vector<std::int16_t> mSent;
    std::unique_ptr<RealServer> mServer;
};

}  // namespace cabinaudio::test
