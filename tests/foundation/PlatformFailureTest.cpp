// SPDX-License-Identifier: Apache-2.0
// A platform call that fails where nobody can do anything about it is logged, and that is all.
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/Worker.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <string>

using cabinaudio::test::Failing;
using cabinaudio::test::LogCapture;
using cabinaudio::test::Worker;
using Work = cabinaudio::test::Failing::Work;

namespace {

struct Tolerated {
    const char* platformFunction;
    const char* file;
    const char* function;    // of the library
    const char* expression;  // as logged
    Work work;
    void (*use)();
};

std::ostream& operator<<(std::ostream& out, const Tolerated& row) {
    return out << row.file << "::" << row.function << " " << row.platformFunction;
}

void makeMutex() {
    const AudioMutex mutex(false);
}

void useMutex() {
    AudioMutex mutex(false);
    mutex.lock();
    mutex.unlock();
}

void makeCondition() {
    const AudioCondition condition(false);
}

void waitForCondition() {
    AudioMutex mutex(false);
    AudioCondition condition(false);
    const AudioMutex::AutoLock lock(mutex);
    condition.wait(mutex);
}

void wakeCondition() {
    AudioCondition condition(false);
    condition.signal();
    condition.broadcast();
}

void makeSemaphore() {
    const AudioSemaphore semaphore(false);
}

void waitForSemaphore() {
    AudioSemaphore semaphore(false);
    semaphore.wait();
}

void startThread() {
    Worker worker("probe");
    worker.start();
    worker.end();
}

const Tolerated kTolerated[] = {
    {"pthread_mutexattr_init", "AudioMutex", "AudioMutex", "pthread_mutexattr_init(&attr) == 0",
     Work::done, makeMutex},
    {"pthread_mutexattr_setpshared", "AudioMutex", "AudioMutex",
     "pthread_mutexattr_setpshared(&attr, sharing) == 0", Work::skipped, makeMutex},
    {"pthread_mutex_init", "AudioMutex", "AudioMutex", "pthread_mutex_init(&mMutex, &attr) == 0",
     Work::done, makeMutex},
    {"pthread_mutexattr_destroy", "AudioMutex", "AudioMutex",
     "pthread_mutexattr_destroy(&attr) == 0", Work::done, makeMutex},
    {"pthread_mutex_destroy", "AudioMutex", "~AudioMutex", "pthread_mutex_destroy(&mMutex) == 0",
     Work::done, makeMutex},
    {"pthread_mutex_lock", "AudioMutex", "lock", "pthread_mutex_lock(&mMutex) == 0", Work::done,
     useMutex},
    {"pthread_mutex_unlock", "AudioMutex", "unlock", "pthread_mutex_unlock(&mMutex) == 0",
     Work::done, useMutex},
    {"pthread_condattr_init", "AudioCondition", "AudioCondition",
     "pthread_condattr_init(&attr) == 0", Work::done, makeCondition},
    {"pthread_condattr_setpshared", "AudioCondition", "AudioCondition",
     "pthread_condattr_setpshared(&attr, sharing) == 0", Work::skipped, makeCondition},
    {"pthread_condattr_setclock", "AudioCondition", "AudioCondition",
     "pthread_condattr_setclock(&attr, CLOCK_MONOTONIC) == 0", Work::skipped, makeCondition},
    {"pthread_cond_init", "AudioCondition", "AudioCondition",
     "pthread_cond_init(&mCond, &attr) == 0", Work::done, makeCondition},
    {"pthread_condattr_destroy", "AudioCondition", "AudioCondition",
     "pthread_condattr_destroy(&attr) == 0", Work::done, makeCondition},
    {"pthread_cond_destroy", "AudioCondition", "~AudioCondition",
     "pthread_cond_destroy(&mCond) == 0", Work::done, makeCondition},
    {"pthread_cond_wait", "AudioCondition", "wait", "pthread_cond_wait(&mCond, &mutex.mMutex) == 0",
     Work::skipped, waitForCondition},
    {"pthread_cond_signal", "AudioCondition", "signal", "pthread_cond_signal(&mCond) == 0",
     Work::done, wakeCondition},
    {"pthread_cond_broadcast", "AudioCondition", "broadcast", "pthread_cond_broadcast(&mCond) == 0",
     Work::done, wakeCondition},
    {"sem_init", "AudioSemaphore", "AudioSemaphore", "sem_init(&mSem, shared ? 1 : 0, 0) == 0",
     Work::done, makeSemaphore},
    {"sem_destroy", "AudioSemaphore", "~AudioSemaphore", "sem_destroy(&mSem) == 0", Work::done,
     makeSemaphore},
    {"sem_wait", "AudioSemaphore", "wait", "sem_wait(&mSem) == 0", Work::skipped, waitForSemaphore},
    {"pthread_attr_init", "AudioThread", "start", "pthread_attr_init(&attr) == 0", Work::done,
     startThread},
    {"pthread_attr_setinheritsched", "AudioThread", "start",
     "pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED) == 0", Work::skipped,
     startThread},
    {"pthread_attr_setschedpolicy", "AudioThread", "start",
     "pthread_attr_setschedpolicy(&attr, policy) == 0", Work::done, startThread},
    {"pthread_attr_setschedparam", "AudioThread", "start",
     "pthread_attr_setschedparam(&attr, &param) == 0", Work::done, startThread},
    {"pthread_attr_destroy", "AudioThread", "start", "pthread_attr_destroy(&attr) == 0", Work::done,
     startThread},
    {"pthread_setname_np", "AudioThread", "start", "pthread_setname_np(mThread, mName) == 0",
     Work::skipped, startThread},
    {"pthread_join", "AudioThread", "join", "pthread_join(thread, nullptr) == 0", Work::done,
     startThread},
};

class ATolerablePlatformFailure : public testing::TestWithParam<Tolerated> {};

TEST_P(ATolerablePlatformFailure, IsLoggedAndNothingElse) {
    const Tolerated& row = GetParam();
    const LogCapture log;
    const Failing failing(row.platformFunction, EINVAL, row.work);
    row.use();
    EXPECT_TRUE(failing.happened());
    const std::string message = std::string("AUDIO IGNORE(") + row.expression + ")!\n";
    EXPECT_EQ(log.count(3, row.file, row.function, message), 1U) << log.dump();
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

INSTANTIATE_TEST_SUITE_P(Foundation, ATolerablePlatformFailure, testing::ValuesIn(kTolerated),
                         [](const testing::TestParamInfo<Tolerated>& row) {
                             return std::string(row.param.platformFunction);
                         });

}  // namespace
