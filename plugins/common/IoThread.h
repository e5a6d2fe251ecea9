// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioThread.h>

namespace cabinaudio::plugin {

/// Runs the turns of a pump: real-time where that is permitted.
template <typename Pump>
class IoThread : private AudioThread {
public:
    /// Starts the thread. @param pump  outlives it
    explicit IoThread(Pump& pump) : AudioThread("PluginIO", PRIORITY, POLICY_RR), mPump(pump) {
        AudioThread::start();
    }
    ~IoThread() override {
        mPump.leave();
        AudioThread::join();
    }

    /// Whether there is a thread: the process may have no room for one.
    [[nodiscard]] bool isRunning() const { return AudioThread::running(); }

private:
    /// Above ordinary threads, below those of the library.
    static constexpr int PRIORITY = 5;

    void run() override {
        while (!mPump.isLeaving())
            mPump.turn();
    }

    Pump& mPump;
};

}  // namespace cabinaudio::plugin
