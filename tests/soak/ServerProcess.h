// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/soak/Random.h"

#include <sys/types.h>

#include <atomic>
#include <chrono>

namespace cabinaudio::test {

/// The soak's server, which is replaced when it is killed. One thread but for state().
class ServerProcess {
public:
    /// Explains why a client fails: another state when it ends than when it began, or no
    /// server at that time.
    struct State {
        unsigned generation;
        bool isThere;
        bool operator==(const State&) const = default;
    };

    /// @param tally  descriptor of the memory in which it counts
    ServerProcess(int tally, unsigned seed);
    ~ServerProcess() { end(); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Any thread.
    [[nodiscard]] State state() const {
        const unsigned word = mState;
        return {word / 2, word % 2 != 0};
    }
    [[nodiscard]] unsigned kills() const { return mKills; }
    [[nodiscard]] unsigned stops() const { return mStops; }

    /// Kills it, and starts the next one a little later.
    void replace();
    void suspend(std::chrono::milliseconds time);
    void end();

private:
    void start();
    void kill();

    const int mTally;
    Random mRandom;
    std::atomic<unsigned> mState{0};  // twice the generation, odd while there is one
    unsigned mKills = 0;
    unsigned mStops = 0;
    pid_t mPid = -1;
    int mInput = -1;
};

}  // namespace cabinaudio::test
