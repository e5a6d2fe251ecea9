// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>

#include "foundation/Deadline.h"
#include "foundation/Log.h"

AudioCondition::AudioCondition(bool shared) {
    const int sharing = shared ? PTHREAD_PROCESS_SHARED : PTHREAD_PROCESS_PRIVATE;
    pthread_condattr_t attr;
    AUDIO_IGNORE(pthread_condattr_init(&attr) == 0);
    AUDIO_IGNORE(pthread_condattr_setpshared(&attr, sharing) == 0);
    AUDIO_IGNORE(pthread_condattr_setclock(&attr, CLOCK_MONOTONIC) == 0);
    AUDIO_IGNORE(pthread_cond_init(&mCond, &attr) == 0);
    AUDIO_IGNORE(pthread_condattr_destroy(&attr) == 0);
}

AudioCondition::~AudioCondition() {
    AUDIO_IGNORE(pthread_cond_destroy(&mCond) == 0);
}

void AudioCondition::wait(AudioMutex& mutex) {
    AUDIO_IGNORE(pthread_cond_wait(&mCond, &mutex.mMutex) == 0);
}

/// Deliberate: the deadline is taken from the library's clock. On an old C library the condition
/// waits on another clock, and such a wait lasts very long.
std::int32_t AudioCondition::waitRelative(AudioMutex& mutex, std::uint64_t ms) {
    AudioTime deadline = cabinaudio::deadlineIn(ms);
    return -pthread_cond_timedwait(&mCond, &mutex.mMutex, deadline.getTimespec());
}

void AudioCondition::signal() {
    AUDIO_IGNORE(pthread_cond_signal(&mCond) == 0);
}

void AudioCondition::broadcast() {
    AUDIO_IGNORE(pthread_cond_broadcast(&mCond) == 0);
}
