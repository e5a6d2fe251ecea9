// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::replay {

/// When the steps of a conversation happen.
enum class Timing : std::uint8_t {
    Answered,  // as fast as the other side answers
    Kept,      // with the recorded gaps
};

struct Options {
    Timing timing = Timing::Answered;
    std::vector<std::string> ignored;                // fields that are not compared
    std::chrono::milliseconds patience{10000};       // for each step of the other side
    std::chrono::milliseconds startPatience{30000};  // as a server: until the application comes
    int interruption = -1;     // descriptor that is readable once the user wants to end
    bool hasInstance = false;  // names in shared memory are this instance's own
    /// As a server: called when it listens, before it waits for the application.
    std::function<void()> onListening;
    /// As a server: the process that is expected, if it was started; it has its own end.
    std::function<bool()> hasApplicationEnded;
};

}  // namespace cabinaudio::replay
