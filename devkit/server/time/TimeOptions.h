// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cabinaudio::server {

enum class TimeMode : std::uint8_t {
    Real,      // by the clock
    Fast,      // as fast as clients write
    Lockstep,  // as fast as everybody who plays or records is ready
    Stepped,   // the same, but only as far as commands say
};

/// Time does not pass `ms` before a stream of this name is started and ready.
struct Await {
    std::string name;
    std::uint64_t ms = 0;
};

/// A command of the control socket, run when time is at `ms`.
struct TimedCommand {
    std::uint64_t ms = 0;
    std::string command;
};

struct TimeOptions {
    TimeMode mode = TimeMode::Real;
    std::uint32_t hold = 0;  // streams that must be started before time begins
    std::vector<Await> awaits;
    std::vector<TimedCommand> commands;
    /// Real time for every wait.
    std::chrono::milliseconds patience{5000};
    /// Real time until an alternative stream that does not write counts as silent.
    std::chrono::milliseconds tail{250};
    /// Whether audible requests at a moment that no frame decides are errors.
    bool isStrict = false;

    /// Whether the server decides when time passes, not a clock.
    [[nodiscard]] bool isOwned() const {
        return mode == TimeMode::Lockstep || mode == TimeMode::Stepped;
    }
    [[nodiscard]] bool isFast() const { return mode == TimeMode::Fast; }
};

/// "real", "fast", "lockstep" or "stepped".
constexpr const char* nameOf(TimeMode mode) {
    switch (mode) {
        case TimeMode::Real:
            return "real";
        case TimeMode::Fast:
            return "fast";
        case TimeMode::Lockstep:
            return "lockstep";
        case TimeMode::Stepped:
            break;
    }
    return "stepped";
}

/// The mode of this name; empty if there is none.
inline std::optional<TimeMode> timeModeOf(std::string_view name) {
    for (const TimeMode mode :
         {TimeMode::Real, TimeMode::Fast, TimeMode::Lockstep, TimeMode::Stepped})
        if (name == nameOf(mode)) return mode;
    return std::nullopt;
}

}  // namespace cabinaudio::server
