// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMutex.h>

#include "tests/foundation/Platform.h"
#include "tests/foundation/SharedObject.h"
#include "tests/support/OnThreads.h"

#include <gtest/gtest.h>

#include <thread>

namespace cabinaudio::test {
namespace {

constexpr int BUSY = -16;

std::int32_t tryLockOnAnotherThread(AudioMutex& mutex) {
    std::int32_t result = 1;
    std::thread([&]() CABINAUDIO_UNCHECKED_LOCKING {
        result = mutex.tryLock();
        if (result == 0) mutex.unlock();
    }).join();
    return result;
}

/// The compiler does not follow a result through an expectation.
void tryTwice() CABINAUDIO_UNCHECKED_LOCKING {
    AudioMutex mutex(false);
    ASSERT_EQ(mutex.tryLock(), 0);
    EXPECT_EQ(mutex.tryLock(), BUSY);
    mutex.unlock();
}

struct SharedMutex {
    AudioMutex lock{true};
    long value = 0;
};

TEST(Mutex, HasTheSizeOfThePlatformsMutex) {
    EXPECT_EQ(sizeof(AudioMutex), sizeof(pthread_mutex_t));
    EXPECT_EQ(sizeof(AudioMutex::AutoLock), sizeof(void*));
}

TEST(Mutex, IsSharedBetweenProcessesOnlyWhenAsked) {
    const AudioMutex own(false);
    EXPECT_EQ(lastSharing(), PTHREAD_PROCESS_PRIVATE);
    const AudioMutex shared(true);
    EXPECT_EQ(lastSharing(), PTHREAD_PROCESS_SHARED);
}

TEST(Mutex, IsRefusedToAnotherThreadWhileItIsHeld) {
    AudioMutex mutex(false);
    EXPECT_EQ(tryLockOnAnotherThread(mutex), 0);
    mutex.lock();
    EXPECT_EQ(tryLockOnAnotherThread(mutex), BUSY);
    mutex.unlock();
    EXPECT_EQ(tryLockOnAnotherThread(mutex), 0);
}

TEST(Mutex, IsRefusedToTheThreadThatHoldsIt) {
    tryTwice();
}

TEST(Mutex, IsHeldForTheLifeOfAnAutoLock) {
    AudioMutex mutex(false);
    {
        const AudioMutex::AutoLock lock(mutex);
        EXPECT_EQ(tryLockOnAnotherThread(mutex), BUSY);
    }
    EXPECT_EQ(tryLockOnAnotherThread(mutex), 0);
}

TEST(Mutex, IsHeldByOneThreadAtATime) {
    AudioMutex mutex(false);
    long value = 0;
    onThreads(2, [&](int) {
        for (int i = 0; i < 20000; ++i) {
            const AudioMutex::AutoLock lock(mutex);
            value = value + 1;
        }
    });
    EXPECT_EQ(value, 40000);
}

TEST(Mutex, IsHeldByOneProcessAtATimeWhenItIsShared) {
    SharedObject<SharedMutex> shared;
    const auto count = [&] {
        for (int i = 0; i < 20000; ++i) {
            const AudioMutex::AutoLock lock(shared->lock);
            volatile long& value = shared->value;
            value = value + 1;
        }
        return 0;
    };
    const pid_t child = forkAndRun(count);
    count();
    EXPECT_EQ(exitStatusOf(child), 0);
    EXPECT_EQ(shared->value, 40000);
}

}  // namespace
}  // namespace cabinaudio::test
