// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/streams/Kinds.h"
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

/// The parts of a stream client and nothing else: a registered connection with its receive thread,
/// a notifier thread and a created stream; for streams with a ring from the start also that ring,
/// mapped from a shared-memory object, and a thread that waits for it. Baseline for the
/// construction of the library's streams.
class MinimalStream {
public:
    explicit MinimalStream(const StreamKind& kind);
    ~MinimalStream();
    MinimalStream(const MinimalStream&) = delete;
    MinimalStream& operator=(const MinimalStream&) = delete;

    /// Sends the initial check, if this kind has one. @return the status
    int initCheck();

private:
    struct Ring {
        sem_t semaphore;
    };
    static constexpr std::size_t OBJECT_BYTES = RING_BYTES + 64;

    void createStream();
    static void reserve(int object);
    void mapRing();

    const StreamKind& mKind;
    sem_t mNotifierSemaphore;
    std::optional<Sleeper> mNotifier;
    std::optional<HandOver> mLink;
    Ring* mRing = nullptr;
    std::optional<Sleeper> mReceiver;
};

}  // namespace cabinaudio::bench
