// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/server/Playing.h"
#include "tests/support/Process.h"
#include "tests/support/SmallBuffers.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {

/// Real programs whose ALSA has the PCM and the control "cabinaudio", through the modules of the
/// development kit.
class Programs : public testing::Test, private SmallBuffers {
protected:
    Programs() {
        writeWav(mSoundFile, 48000, 2, mSound);
        std::ofstream(mConfig) << "</usr/share/alsa/alsa.conf>\n"
                                  "<" CABINAUDIO_TEST_DEFINITIONS
                                  ">\n"
                                  "pcm_type.cabinaudio.lib \"" CABINAUDIO_TEST_MODULE
                                  "\"\n"
                                  "ctl_type.cabinaudio.lib \"" CABINAUDIO_TEST_MODULE "\"\n";
    }

    static bool isInstalled(const std::string& program) {
        std::istringstream path(std::getenv("PATH"));
        for (std::string directory; std::getline(path, directory, ':');)
            if (access((directory + "/" + program).c_str(), X_OK) == 0) return true;
        return false;
    }

    /// A program is found like one that a shell starts, and has no other sound than ALSA's.
    [[nodiscard]] Start start(Words words) const {
        words.insert(words.begin(), {"/usr/bin/env"});
        Start result;
        result.words = std::move(words);
        result.variables = {{"ALSA_CONFIG_PATH", mConfig},
                            {"HOME", mDirectory.path()},
                            {"PULSE_SERVER", "/nonexistent"},
                            {"LD_PRELOAD", ""}};
        result.input = "/dev/null";
        return result;
    }
    [[nodiscard]] Outcome run(const Words& words) const {
        return Process(start(words)).finish(std::chrono::seconds(60));
    }

    /// Waits for something that only asking tells. @return whether it came
    static bool comes(const std::function<bool()>& condition,
                      std::chrono::milliseconds interval = std::chrono::milliseconds(2),
                      std::chrono::milliseconds bound = std::chrono::seconds(10)) {
        const auto deadline = std::chrono::steady_clock::now() + bound;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(interval);
        }
        return true;
    }
    /// Name of a program's only stream.
    static std::string nameOf(const Outcome& outcome) {
        return "alsa-aplay-" + std::to_string(outcome.pid) + "-1";
    }
    /// Streams that have been heard.
    static std::size_t streams(const RealServer& server) {
        const auto all = stateOf(server).at("streams");
        return static_cast<std::size_t>(std::count_if(
            all.begin(), all.end(), [](const auto& stream) { return stream.at("frames") > 0; }));
    }

    /// Sends a line to a program's socket once there is one. @return whether it could
    static bool say(const std::string& path, const std::string& line) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool isDone =
            connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            send(descriptor, line.data(), line.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(line.size());
        close(descriptor);
        return isDone;
    }

    /// Whether a piece of the sound is exactly that.
    static bool contains(const std::vector<std::int32_t>& sound,
                         const std::vector<std::int32_t>& piece) {
        return std::search(sound.begin(), sound.end(), piece.begin(), piece.end()) != sound.end();
    }
    static bool contains(const Wav& wav, const std::vector<std::int32_t>& piece) {
        return contains(wav.samples, piece);
    }
    /// As the server repeats its input.
    static std::vector<std::int32_t> looped(const std::vector<std::int16_t>& samples) {
        std::vector<std::int32_t> result = wide(samples);
        const std::vector<std::int32_t> once = result;
        result.insert(result.end(), once.begin(), once.end());
        return result;
    }

    const std::vector<std::int16_t> mSound = noise16(2 * 24000);  // half a second
    TemporaryDirectory mDirectory;
    const std::string mSoundFile = mDirectory.file("sound.wav");
    const std::string mConfig = mDirectory.file("asound.conf");
};

}  // namespace cabinaudio::test

/// Skips the test of a program that is not there.
#define SKIP_WITHOUT(program) \
    if (!isInstalled(program)) GTEST_SKIP() << (program) << " is not installed"
