// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/DeviceHealth.h"

namespace cabinaudio::server {
namespace {

constexpr std::chrono::minutes RECENT{1};

}  // namespace

void DeviceHealth::lost(const std::string& problem) {
    const Lock lock(mLock);
    if (!mState.since) {
        mState.since = std::chrono::system_clock::now();
        mLostAt = Clock::now();
        ++mState.losses;
    }
    mState.problem = problem;
    count(problem);
}

std::chrono::milliseconds DeviceHealth::found() {
    const Lock lock(mLock);
    const auto duration = lostFor();
    mState.since.reset();
    mState.problem.clear();
    return duration;
}

void DeviceHealth::failed(const std::string& problem) {
    const Lock lock(mLock);
    count(problem);
}

DeviceState DeviceHealth::state() const {
    const Lock lock(mLock);
    DeviceState state = mState;
    state.lostFor = lostFor();
    const auto begin = Clock::now() - RECENT;
    state.recentErrors = static_cast<std::uint64_t>(std::count_if(
        mErrors.begin(), mErrors.end(), [begin](const auto& time) { return time >= begin; }));
    return state;
}

void DeviceHealth::count(const std::string& problem) {
    const auto now = Clock::now();
    while (!mErrors.empty() && mErrors.front() < now - RECENT)
        mErrors.pop_front();
    mErrors.push_back(now);
    ++mState.errors;
    mState.lastError = problem;
}

std::chrono::milliseconds DeviceHealth::lostFor() const {
    if (!mState.since) return std::chrono::milliseconds(0);
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - mLostAt);
}

}  // namespace cabinaudio::server
