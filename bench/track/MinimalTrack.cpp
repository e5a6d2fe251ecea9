// SPDX-License-Identifier: Apache-2.0
#include "bench/track/MinimalTrack.h"

#include "bench/support/Errors.h"
#include "wire/Stream.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace cabinaudio::bench {

Sleeper::Sleeper(const char* name, sem_t* semaphore) : mSemaphore(semaphore) {
    mThread.emplace(name, sleep, this);
}

Sleeper::~Sleeper() {
    mRunning = false;
    sem_post(mSemaphore);
}

void* Sleeper::sleep(void* self) {
    const auto& sleeper = *static_cast<Sleeper*>(self);
    while (sleeper.mRunning)
        sem_wait(sleeper.mSemaphore);
    return nullptr;
}

MinimalTrack::MinimalTrack(const char* name) : mName(name) {
    sem_init(&mNotifierSemaphore, 0, 0);
    mNotifier.emplace("Notifier", &mNotifierSemaphore);
    mLink.emplace(AUDIO_CONNECT_ALTERNATIVE, name);
    createStream();
    mapRing();
    mReceiver.emplace("Ring", &mRing->semaphore);
}

MinimalTrack::~MinimalTrack() {
    mReceiver.reset();
    munmap(mRing, OBJECT_BYTES);
    shm_unlink(mName);
    mLink.reset();
    mNotifier.reset();
    sem_destroy(&mNotifierSemaphore);
}

int MinimalTrack::initCheck() {
    return mLink->request({static_cast<std::uint32_t>(wire::StreamFunction::InitCheck)},
                          sizeof(wire::StatusReply));
}

void MinimalTrack::createStream() {
    const auto pid = static_cast<std::uint32_t>(getpid());
    const auto create = static_cast<std::uint32_t>(wire::StreamFunction::Create);
    if (mLink->request({create, AUDIO_TAG_ALTERNATIVE, 0, 0, 0, 0, 0, 0, 0, pid},
                       sizeof(wire::CreateReply)) != 0)
        raise(EPROTO, "creation of a stream");
}

void MinimalTrack::mapRing() {
    const int object = checked(shm_open(mName, O_RDWR | O_CREAT, 0600), "shm_open");
    checked(ftruncate(object, OBJECT_BYTES), "ftruncate");
    checked(fallocate(object, 0, 0, OBJECT_BYTES), "fallocate");
    void* const mapping =
        mmap(nullptr, OBJECT_BYTES, PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
    close(object);
    if (mapping == MAP_FAILED) raise(errno, "mmap");
    mRing = static_cast<Ring*>(mapping);
    sem_init(&mRing->semaphore, 1, 0);
}

}  // namespace cabinaudio::bench
