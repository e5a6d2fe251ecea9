// SPDX-License-Identifier: Apache-2.0
#include "tools/BoardLaunch.h"
#include "tools/ChildProcess.h"
#include "tools/doctor/Check.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>

#include <cstring>

namespace cabinaudio::tool {

namespace {

using namespace std::chrono_literals;

/// The child's result.
struct Trial {
    int error;   // of the thread's creation
    int policy;  // the thread's actual policy
    int priority;
};

void* lookAtOwnScheduling(void* found) {
    auto* trial = static_cast<Trial*>(found);
    struct sched_param parameter = {};
    trial->error = pthread_getschedparam(pthread_self(), &trial->policy, &parameter);
    trial->priority = parameter.sched_priority;
    return nullptr;
}

/// Creates a thread exactly as the library does: setting the attributes always succeeds, and only
/// the creation fails.
void createRealTimeThread(int answers) {
    Trial trial = {};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    struct sched_param parameter = {};
    parameter.sched_priority = sched_get_priority_max(SCHED_RR);
    pthread_attr_setschedparam(&attributes, &parameter);
    pthread_t thread;
    trial.error = pthread_create(&thread, &attributes, lookAtOwnScheduling, &trial);
    if (trial.error == 0) pthread_join(thread, nullptr);
    answer(answers, &trial, sizeof trial);
}

Json limitOf(rlim_t limit) {
    if (limit == RLIM_INFINITY) return nullptr;
    return static_cast<std::uint64_t>(limit);
}

std::string limitText(rlim_t limit) {
    return limit == RLIM_INFINITY ? "unlimited" : std::to_string(limit);
}

constexpr char REAL_TIME_CURE[] =
    "raise the rtprio limit to 99 (/etc/security/limits.d, or LimitRTPRIO=99 of a service), "
    "or in a container add --cap-add SYS_NICE";

}  // namespace

Check checkRealTime() {
    Check check{"real_time", false, "refused", "", REAL_TIME_CURE};
    struct rlimit limit = {};
    getrlimit(RLIMIT_RTPRIO, &limit);
    check.more = {{"rtprio_limit", limitOf(limit.rlim_cur)}, {"priority", nullptr}};
    const std::string limited = "rtprio limit " + limitText(limit.rlim_cur);

    ChildResult child = runInChild(2s, createRealTimeThread);
    Trial trial;
    if (!takeRecord(child.output, trial)) {
        check.detail = "trying to create a real-time thread did not come to an end; " + limited;
    } else if (trial.error != 0) {
        check.detail = std::string("a real-time thread is refused: ") + std::strerror(trial.error) +
                       "; " + limited;
        if (!boardIsActive()) check.cure += "; or run through cabinaudio-run";
    } else if (trial.policy == SCHED_RR) {
        check.ok = true;
        check.value = "permitted";
        check.detail = "threads run round-robin with priority " + std::to_string(trial.priority);
        check.more["priority"] = trial.priority;
        check.cure.clear();
    } else {
        check.ok = true;
        check.value = "stand_in";
        check.detail =
            "refused (" + limited + "); through the board stand-in threads run as ordinary ones";
        check.cure.clear();
    }
    return check;
}

}  // namespace cabinaudio::tool
