// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Mutex.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace cabinaudio::server {

/// Whether a device works, and its failures so far.
struct DeviceState {
    std::string problem;  // why the device is lost; empty while it is open
    std::optional<std::chrono::system_clock::time_point> since;  // start of the loss
    std::chrono::milliseconds lostFor{0};
    std::uint64_t losses = 0;
    std::uint64_t errors = 0;        // including the losses
    std::uint64_t recentErrors = 0;  // of the last minute
    std::string lastError;           // empty: none

    [[nodiscard]] bool isLost() const { return since.has_value(); }
};

/// Keeps the state of a device. All functions may be called on any thread.
class DeviceHealth {
public:
    /// The device cannot be used until found(). A repeated loss only replaces the problem.
    void lost(const std::string& problem) CABINAUDIO_EXCLUDES(mLock);
    /// The device is open again. @return the duration of the loss
    std::chrono::milliseconds found() CABINAUDIO_EXCLUDES(mLock);
    /// An error after which the device works.
    void failed(const std::string& problem) CABINAUDIO_EXCLUDES(mLock);

    [[nodiscard]] DeviceState state() const CABINAUDIO_EXCLUDES(mLock);

private:
    using Clock = std::chrono::steady_clock;

    void count(const std::string& problem) CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] std::chrono::milliseconds lostFor() const CABINAUDIO_REQUIRES(mLock);

    mutable Mutex mLock;
    DeviceState mState CABINAUDIO_GUARDED_BY(mLock);  // without those that depend on the time
    Clock::time_point mLostAt CABINAUDIO_GUARDED_BY(mLock);
    std::deque<Clock::time_point> mErrors CABINAUDIO_GUARDED_BY(mLock);  // of the last minute
};

/// Pauses between attempts to open a device again: none before the first one, then growing ones.
class RetryPause {
public:
    static constexpr std::chrono::milliseconds SHORTEST{100};
    static constexpr std::chrono::milliseconds LONGEST{5000};

    /// The pause before the next attempt.
    [[nodiscard]] std::chrono::milliseconds next() {
        const std::chrono::milliseconds pause = mNext;
        mNext = std::min(std::max(2 * mNext, SHORTEST), LONGEST);
        return pause;
    }
    /// Whether the pauses have stopped growing.
    [[nodiscard]] bool isLongest() const { return mNext == LONGEST; }

private:
    std::chrono::milliseconds mNext{0};
};

}  // namespace cabinaudio::server
