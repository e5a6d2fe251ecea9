// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "python/src/Slices.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace cabinaudio::python {

/// A thread for one blocking call of the library at a time. The library's waits for space and data
/// cannot be ended without a stop of the stream; the thread that has asked for the call can leave
/// it, and whoever comes next waits for its result.
///
/// The server sees a stream that waits, as in every blocking call. All functions may be called by
/// any thread, without the interpreter lock.
class Aside {
public:
    using Clock = std::chrono::steady_clock;
    using Call = std::function<int()>;

    Aside() = default;
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;
    /// Waits for the call.
    ~Aside();

    /// Begins a call, whose result the caller must await. The first one starts the thread.
    /// @return false when there is another call
    [[nodiscard]] bool begin(Call call);

    /// Takes over a call that was left. @return false when there is none
    [[nodiscard]] bool adopt();

    /// Waits for the result of begin() or adopt(). The call is left at the deadline, and when a
    /// signal handler raises an exception.
    /// @param deadline  none: waits as long as the call takes
    /// @return empty when it was left
    /// @throws py::error_already_set  what a signal handler has raised
    [[nodiscard]] std::optional<int> await(SignalCheck& signals,
                                           std::optional<Clock::time_point> deadline);

private:
    enum class State { Idle, Begun, Ended };

    void run();
    [[nodiscard]] std::optional<int> resultWithin(std::chrono::nanoseconds time);
    void leave();

    std::mutex mLock;
    std::condition_variable mChanged;
    State mState = State::Idle;
    bool mIsLeft = false;
    bool mIsOver = false;
    int mResult = 0;
    Call mCall;
    std::thread mThread;
};

/// Of a call that began now. Empty without a timeout in s, and with one that is longer than any
/// call.
[[nodiscard]] std::optional<Aside::Clock::time_point> deadlineAfter(std::optional<double> timeout);

/// Whether somebody may want to end a call before the library does: only this thread handles
/// signals, or there is a timeout.
[[nodiscard]] bool isWatched(std::optional<double> timeout);

}  // namespace cabinaudio::python
