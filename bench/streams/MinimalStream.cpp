// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/MinimalStream.h"

#include "bench/support/Errors.h"
#include "bench/support/PartTimes.h"

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

MinimalStream::MinimalStream(const StreamKind& kind) : mKind(kind) {
    sem_init(&mNotifierSemaphore, 0, 0);
    mNotifier.emplace("Notifier", &mNotifierSemaphore);
    mLink.emplace(static_cast<audio_connect_type>(kind.tag), STREAM_NAME);
    createStream();
    if (!kind.hasRing) return;
    mapRing();
    mReceiver.emplace("Ring", &mRing->semaphore);
}

MinimalStream::~MinimalStream() {
    if (mRing != nullptr) {
        mReceiver.reset();
        munmap(mRing, OBJECT_BYTES);
        shm_unlink(STREAM_NAME);
    }
    mLink.reset();
    mNotifier.reset();
    sem_destroy(&mNotifierSemaphore);
}

int MinimalStream::initCheck() {
    if (mKind.initCheck == 0) return 0;
    return mLink->request({mKind.initCheck}, sizeof(wire::StatusReply));
}

void MinimalStream::createStream() {
    const TimedPart timed(&PartTimes::requests);
    const auto pid = static_cast<std::uint32_t>(getpid());
    if (mLink->request({mKind.create, mKind.tag, 0, 0, 0, 0, 0, 0, 0, pid},
                       sizeof(wire::CreateReply)) != 0)
        raise(EPROTO, "creation of a stream");
}

void MinimalStream::reserve(int object) {
    const TimedPart timed(&PartTimes::reservation);
    checked(fallocate(object, 0, 0, OBJECT_BYTES), "fallocate");
}

void MinimalStream::mapRing() {
    const int object = checked(shm_open(STREAM_NAME, O_RDWR | O_CREAT, 0600), "shm_open");
    checked(ftruncate(object, OBJECT_BYTES), "ftruncate");
    reserve(object);
    void* const mapping =
        mmap(nullptr, OBJECT_BYTES, PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
    close(object);
    if (mapping == MAP_FAILED) raise(errno, "mmap");
    mRing = static_cast<Ring*>(mapping);
    sem_init(&mRing->semaphore, 1, 0);
}

}  // namespace cabinaudio::bench
