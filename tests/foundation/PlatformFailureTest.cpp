// SPDX-License-Identifier: Apache-2.0
// A platform call whose failure has no remedy is logged and otherwise ignored.
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/Worker.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <string>

using Work = cabinaudio::test::Failing::Work;

namespace cabinaudio::test {
namespace {

struct Tolerated {
    const char* file;
    const char* function;    // of the library
    const char* expression;  // as logged: a call of the platform function
    Work work;
    void (*use)();

    [[nodiscard]] std::string platformFunction() const {
        const std::string call = expression;
        return call.substr(0, call.find('('));
    }
};

std::ostream& operator<<(std::ostream& out, const Tolerated& row) {
    return out << row.file << "::" << row.function << " " << row.platformFunction();
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

const Tolerated TOLERATED[] = {
    {"AudioMutex", "AudioMutex", "pthread_mutexattr_init(&attr) == 0", Work::Done, makeMutex},
    {"AudioMutex", "AudioMutex", "pthread_mutexattr_setpshared(&attr, sharing) == 0", Work::Skipped,
     makeMutex},
    {"AudioMutex", "AudioMutex", "pthread_mutex_init(&mMutex, &attr) == 0", Work::Done, makeMutex},
    {"AudioMutex", "AudioMutex", "pthread_mutexattr_destroy(&attr) == 0", Work::Done, makeMutex},
    {"AudioMutex", "~AudioMutex", "pthread_mutex_destroy(&mMutex) == 0", Work::Done, makeMutex},
    {"AudioMutex", "lock", "pthread_mutex_lock(&mMutex) == 0", Work::Done, useMutex},
    {"AudioMutex", "unlock", "pthread_mutex_unlock(&mMutex) == 0", Work::Done, useMutex},
    {"AudioCondition", "AudioCondition", "pthread_condattr_init(&attr) == 0", Work::Done,
     makeCondition},
    {"AudioCondition", "AudioCondition", "pthread_condattr_setpshared(&attr, sharing) == 0",
     Work::Skipped, makeCondition},
    {"AudioCondition", "AudioCondition", "pthread_condattr_setclock(&attr, CLOCK_MONOTONIC) == 0",
     Work::Skipped, makeCondition},
    {"AudioCondition", "AudioCondition", "pthread_cond_init(&mCond, &attr) == 0", Work::Done,
     makeCondition},
    {"AudioCondition", "AudioCondition", "pthread_condattr_destroy(&attr) == 0", Work::Done,
     makeCondition},
    {"AudioCondition", "~AudioCondition", "pthread_cond_destroy(&mCond) == 0", Work::Done,
     makeCondition},
    {"AudioCondition", "wait", "pthread_cond_wait(&mCond, &mutex.mMutex) == 0", Work::Skipped,
     waitForCondition},
    {"AudioCondition", "signal", "pthread_cond_signal(&mCond) == 0", Work::Done, wakeCondition},
    {"AudioCondition", "broadcast", "pthread_cond_broadcast(&mCond) == 0", Work::Done,
     wakeCondition},
    {"AudioSemaphore", "AudioSemaphore", "sem_init(&mSem, shared ? 1 : 0, 0) == 0", Work::Done,
     makeSemaphore},
    {"AudioSemaphore", "~AudioSemaphore", "sem_destroy(&mSem) == 0", Work::Done, makeSemaphore},
    {"AudioSemaphore", "wait", "sem_wait(&mSem) == 0", Work::Skipped, waitForSemaphore},
    {"AudioThread", "start", "pthread_attr_init(&attr) == 0", Work::Done, startThread},
    {"AudioThread", "start", "pthread_attr_setinheritsched(&attr, PTHREAD_EXPLICIT_SCHED) == 0",
     Work::Skipped, startThread},
    {"AudioThread", "start", "pthread_attr_setschedpolicy(&attr, policy) == 0", Work::Done,
     startThread},
    {"AudioThread", "start", "pthread_attr_setschedparam(&attr, &param) == 0", Work::Done,
     startThread},
    {"AudioThread", "start", "pthread_attr_destroy(&attr) == 0", Work::Done, startThread},
    {"AudioThread", "start", "pthread_setname_np(mThread, mName) == 0", Work::Skipped, startThread},
    {"AudioThread", "join", "pthread_join(thread, nullptr) == 0", Work::Done, startThread},
};

class PlatformFailure : public testing::TestWithParam<Tolerated> {};

TEST_P(PlatformFailure, IsLoggedAndTolerated) {
    const Tolerated& row = GetParam();
    const LogCapture log;
    const std::string function = row.platformFunction();
    const Failing failing(function.c_str(), EINVAL, row.work);
    row.use();
    EXPECT_TRUE(failing.happened());
    const std::string message = std::string("AUDIO IGNORE(") + row.expression + ")!\n";
    EXPECT_TRUE(logged(log, 3, row.file, row.function, message));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

INSTANTIATE_TEST_SUITE_P(Calls, PlatformFailure, testing::ValuesIn(TOLERATED),
                         [](const testing::TestParamInfo<Tolerated>& row) {
                             return row.param.platformFunction();
                         });

}  // namespace
}  // namespace cabinaudio::test
