// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioThread.h>

#include <atomic>
#include <functional>
#include <utility>

namespace cabinaudio::test {

/// A library thread that runs what it is given, and then waits to be stopped.
class Worker : public AudioThread {
public:
    explicit Worker(const char* name = "worker", std::function<void(Worker&)> task = {},
                    std::int32_t priority = -1, Policy policy = POLICY_RR)
        : AudioThread(name, priority, policy), mTask(std::move(task)) {}
    ~Worker() override { end(); }

    void end() {
        prepareStop();
        mWake.signal();
        join();
    }

    void run() override {
        ++mBegun;
        if (mTask) mTask(*this);
        while (running())
            mWake.wait();
        ++mEnded;
    }

    /// How often the body has begun and ended.
    [[nodiscard]] int begun() const { return mBegun; }
    [[nodiscard]] int ended() const { return mEnded; }
    [[nodiscard]] bool isRunning() const { return running(); }

private:
    std::function<void(Worker&)> mTask;
    AudioSemaphore mWake{false};
    std::atomic<int> mBegun{0};
    std::atomic<int> mEnded{0};
};

}  // namespace cabinaudio::test
