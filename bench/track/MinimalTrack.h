// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/AnsweringServer.h"
#include "bench/support/HandOver.h"
#include "bench/support/WorkerThread.h"

#include <semaphore.h>

#include <atomic>
#include <cstddef>
#include <optional>

namespace cabinaudio::bench {

/// A thread that sleeps on a semaphore until its owner stops it.
class Sleeper {
public:
    Sleeper(const char* name, sem_t* semaphore);
    ~Sleeper();
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

private:
    static void* sleep(void* self);

    sem_t* mSemaphore;
    std::atomic<bool> mRunning{true};
    std::optional<WorkerThread> mThread;
};

/// What an "alternative" track is made of, and nothing else: a registered connection with its
/// receive thread, a notifier thread, a created stream, its ring mapped from a shared-memory
/// object, and a thread that waits for the ring. What the construction of the library's track is
/// measured against.
class MinimalTrack {
public:
    explicit MinimalTrack(const char* name);
    ~MinimalTrack();
    MinimalTrack(const MinimalTrack&) = delete;
    MinimalTrack& operator=(const MinimalTrack&) = delete;

    /// Confirms the stream with the server. @return its status
    int initCheck();

private:
    struct Ring {
        sem_t semaphore;
    };
    static constexpr std::size_t OBJECT_BYTES = RING_BYTES + 64;

    void createStream();
    void mapRing();

    const char* mName;
    sem_t mNotifierSemaphore;
    std::optional<Sleeper> mNotifier;
    std::optional<HandOver> mLink;
    Ring* mRing = nullptr;
    std::optional<Sleeper> mReceiver;
};

}  // namespace cabinaudio::bench
