// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioSemaphore.h>

#include "foundation/Deadline.h"
#include "foundation/Log.h"
#include "foundation/WeakLibc.h"

#include <cerrno>
#include <cstring>

AudioSemaphore::AudioSemaphore(bool shared) {
    AUDIO_IGNORE(sem_init(&mSem, shared ? 1 : 0, 0) == 0);
}

AudioSemaphore::~AudioSemaphore() {
    AUDIO_IGNORE(sem_destroy(&mSem) == 0);
}

void AudioSemaphore::wait() {
    AUDIO_IGNORE(sem_wait(&mSem) == 0);
}

std::int32_t AudioSemaphore::waitRelative(std::uint64_t ms) {
    AudioTime deadline = cabinaudio::deadlineIn(ms);
    const int ret = AudioTime::advancedTimeoutPolicy()
                        ? sem_clockwait(&mSem, CLOCK_MONOTONIC, deadline.getTimespec())
                        : sem_timedwait(&mSem, deadline.getTimespec());
    if (ret == 0) return 0;
    const int error = errno;
    if (error == ETIMEDOUT) return 1;
    AUDIO_LOGE("Fail to wait, ret=%d, error=%s(%d).\n", ret, std::strerror(error), error);
    return -1;
}

void AudioSemaphore::signal() {
    const int ret = sem_post(&mSem);
    if (ret < 0) AUDIO_LOGE("Fail to sem post, ret=%d.\n", ret);
}
