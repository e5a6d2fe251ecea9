// SPDX-License-Identifier: Apache-2.0
#include "python/src/Aside.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace cabinaudio::python {

namespace {

/// Between two looks for signals.
constexpr std::chrono::milliseconds LOOK{50};

constexpr double LONGEST = 1e6;  // s

}  // namespace

Aside::~Aside() {
    {
        const std::scoped_lock lock(mLock);
        mIsOver = true;
    }
    mChanged.notify_all();
    if (mThread.joinable()) mThread.join();
}

bool Aside::begin(Call call) {
    const std::scoped_lock lock(mLock);
    if (mState != State::Idle) return false;
    if (!mThread.joinable()) mThread = std::thread([this] { run(); });
    mCall = std::move(call);
    mState = State::Begun;
    mChanged.notify_all();
    return true;
}

bool Aside::adopt() {
    const std::scoped_lock lock(mLock);
    return std::exchange(mIsLeft, false);
}

std::optional<int> Aside::await(SignalCheck& signals, std::optional<Clock::time_point> deadline) {
    try {
        for (;;) {
            std::chrono::nanoseconds time = LOOK;
            if (deadline)
                time = std::clamp<std::chrono::nanoseconds>(*deadline - Clock::now(), {}, LOOK);
            if (const std::optional<int> result = resultWithin(time)) return result;
            signals.look();
            if (deadline && Clock::now() >= *deadline) break;
        }
    } catch (...) {
        leave();
        throw;
    }
    leave();
    return {};
}

std::optional<int> Aside::resultWithin(std::chrono::nanoseconds time) {
    std::unique_lock lock(mLock);
    if (!mChanged.wait_for(lock, time, [this] { return mState == State::Ended; })) return {};
    mState = State::Idle;
    return mResult;
}

void Aside::leave() {
    const std::scoped_lock lock(mLock);
    mIsLeft = true;
}

void Aside::run() {
    std::unique_lock lock(mLock);
    for (;;) {
        mChanged.wait(lock, [this] { return mState == State::Begun || mIsOver; });
        if (mState != State::Begun) return;
        Call call = std::exchange(mCall, nullptr);
        lock.unlock();
        const int result = call();
        call = nullptr;  // with all that it keeps in use
        lock.lock();
        mResult = result;
        mState = State::Ended;
        mChanged.notify_all();
    }
}

std::optional<Aside::Clock::time_point> deadlineAfter(std::optional<double> timeout) {
    if (!timeout || !(*timeout < LONGEST)) return {};
    const std::chrono::duration<double> time(std::max(*timeout, 0.0));
    return Aside::Clock::now() + std::chrono::duration_cast<Aside::Clock::duration>(time);
}

bool isWatched(std::optional<double> timeout) {
    return timeout.has_value() || gettid() == getpid();
}

}  // namespace cabinaudio::python
