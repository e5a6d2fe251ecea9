// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

namespace cabinaudio::bench {

/// A thread like the library's, and no more: SCHED_RR at the highest priority, named, deaf to
/// signals. Whoever owns it makes its body return before destroying it.
class WorkerThread {
public:
    WorkerThread(const char* name, void* (*body)(void*), void* argument);
    ~WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;

private:
    pthread_t mThread{};
};

}  // namespace cabinaudio::bench
