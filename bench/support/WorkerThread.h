// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

namespace cabinaudio::bench {

/// A thread with the properties of the library's: SCHED_RR at the highest priority, named, with all
/// signals blocked. The owner must make its body return before destroying it.
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
