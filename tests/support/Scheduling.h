// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>
#include <sched.h>

#include <ostream>
#include <thread>

namespace cabinaudio::test {

/// How the kernel schedules a thread.
struct Scheduling {
    int policy = -1;
    int priority = -1;

    [[nodiscard]] static Scheduling ofThisThread() {
        Scheduling now;
        sched_param parameter = {};
        pthread_getschedparam(pthread_self(), &now.policy, &parameter);
        now.priority = parameter.sched_priority;
        return now;
    }
    /// That of the library's own threads.
    [[nodiscard]] static Scheduling realTime() {
        return {SCHED_RR, sched_get_priority_max(SCHED_RR)};
    }
    /// Whether this process may have threads like that.
    [[nodiscard]] static bool isRealTimeAllowed() {
        bool isAllowed = false;
        std::thread probe([&isAllowed] {
            const sched_param parameter = {realTime().priority};
            isAllowed = pthread_setschedparam(pthread_self(), SCHED_RR, &parameter) == 0 &&
                        ofThisThread() == realTime();  // an emulator may only pretend
        });
        probe.join();
        return isAllowed;
    }

    bool operator==(const Scheduling&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Scheduling& scheduling) {
        return out << "policy " << scheduling.policy << ", priority " << scheduling.priority;
    }
};

}  // namespace cabinaudio::test
