// SPDX-License-Identifier: Apache-2.0
#include "bench/support/WorkerThread.h"

#include "bench/support/Errors.h"
#include "bench/support/PartTimes.h"

#include <sched.h>

#include <csignal>

namespace cabinaudio::bench {

WorkerThread::WorkerThread(const char* name, void* (*body)(void*), void* argument) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setinheritsched(&attributes, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    sched_param param{};
    param.sched_priority = sched_get_priority_max(SCHED_RR);
    pthread_attr_setschedparam(&attributes, &param);
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int error = [&] {
        const TimedPart timed(&PartTimes::threadStarts);
        return pthread_create(&mThread, &attributes, body, argument);
    }();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (error != 0) raise(error, "pthread_create");
    const TimedPart timed(&PartTimes::threadNames);
    pthread_setname_np(mThread, name);
}

WorkerThread::~WorkerThread() {
    pthread_join(mThread, nullptr);
}

}  // namespace cabinaudio::bench
