// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioMutex.h>

#include "foundation/Log.h"

AudioMutex::AutoLock::AutoLock(AudioMutex& mutex) : mMutex(mutex) {
    mMutex.lock();
}

AudioMutex::AutoLock::~AutoLock() {
    mMutex.unlock();
}

AudioMutex::AudioMutex(bool shared) {
    const int sharing = shared ? PTHREAD_PROCESS_SHARED : PTHREAD_PROCESS_PRIVATE;
    pthread_mutexattr_t attr;
    AUDIO_IGNORE(pthread_mutexattr_init(&attr) == 0);
    AUDIO_IGNORE(pthread_mutexattr_setpshared(&attr, sharing) == 0);
    AUDIO_IGNORE(pthread_mutex_init(&mMutex, &attr) == 0);
    AUDIO_IGNORE(pthread_mutexattr_destroy(&attr) == 0);
}

AudioMutex::~AudioMutex() {
    AUDIO_IGNORE(pthread_mutex_destroy(&mMutex) == 0);
}

void AudioMutex::lock() CABINAUDIO_UNCHECKED_LOCKING {
    AUDIO_IGNORE(pthread_mutex_lock(&mMutex) == 0);
}

void AudioMutex::unlock() CABINAUDIO_UNCHECKED_LOCKING {
    AUDIO_IGNORE(pthread_mutex_unlock(&mMutex) == 0);
}

std::int32_t AudioMutex::tryLock() CABINAUDIO_UNCHECKED_LOCKING {
    return -pthread_mutex_trylock(&mMutex);
}
