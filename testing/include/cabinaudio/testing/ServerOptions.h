// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// How the server's time passes.
enum class Time {
    Real,      ///< as a clock
    Fast,      ///< as fast as clients write; the result depends on their timing
    Lockstep,  ///< when every stream is ready, as fast as that: the same bytes in every run
    Stepped,   ///< as Lockstep, but only as far as TestServer::run() says
};

/// Time does not pass `at` before this stream is started and has data, and it is not heard earlier.
struct Await {
    std::string stream;
    std::chrono::milliseconds at{0};
};

/// A command of the server's control socket that the server executes at a frame of its output.
struct At {
    std::chrono::milliseconds at{0};
    std::string command;  ///< for example "source withdraw music"
};

/// How a TestServer is started.
struct ServerOptions {
    Time time = Time::Lockstep;
    /// Time begins when so many streams are started.
    unsigned hold = 0;
    std::vector<Await> await = {};
    std::vector<At> at = {};
    /// What streams of a capture tag record: {{"input0", "voice.wav"}, {"uplink", "tone:440"}}. The
    /// key "" is for all tags without an entry.
    std::map<std::string, std::string> inputs = {};
    /// Longest wait for anything, in real time; at least one second in Lockstep and Stepped.
    std::chrono::milliseconds patience{60000};
    /// In Lockstep and Stepped: a request that is heard, and that comes at a moment which no frame
    /// decides, is an error of time. With it equal tests have equal results, or an error says why
    /// not.
    bool isStrict = true;
    /// Further arguments of cabinaudio-server, for example {"--channels", "6"}.
    std::vector<std::string> arguments = {};
};

}  // namespace cabinaudio::testing
