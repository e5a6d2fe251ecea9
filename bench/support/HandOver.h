// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "bench/support/WorkerThread.h"
#include "wire/Frame.h"

#include <pthread.h>
#include <semaphore.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

namespace cabinaudio::bench {

/// Minimal client of the server with a receive thread that reads the frame headers, and a
/// requesting thread that reads the bodies: the baseline for the library. Nothing is logged,
/// retried or guarded.
///
///     requester                          receive thread
///     send(header and payload)           recv(32 bytes) ...
///     lock, wait for the condition  <--  lock, flag, signal, unlock; wait for the semaphore
///     recv(body), post, unlock      -->  recv(32 bytes) ...
class HandOver {
public:
    /// Connects, starts the receive thread and registers.
    HandOver(audio_connect_type type, const char* name);
    ~HandOver();
    HandOver(const HandOver&) = delete;
    HandOver& operator=(const HandOver&) = delete;

    /// Sends a request of `words` from its own heap block; the reply goes to another one.
    /// @return the first word of the reply, or -1 when the request failed
    std::int32_t request(std::initializer_list<std::uint32_t> words, std::size_t replyLength);

private:
    static void* receive(void* self);
    void receiveFrames();
    void announceReply();
    void fillHeader(audio_param& header, std::uint32_t command, std::uint32_t handle,
                    std::size_t length, const char* name) const;
    bool exchange(const void* message, std::size_t length, void* reply, std::size_t replyLength);

    int mSocket;
    audio_connect_type mType;
    std::uint32_t mHandle = 0;
    pthread_mutex_t mReplyLock = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t mReplyCond = PTHREAD_COND_INITIALIZER;
    sem_t mReplySem;
    bool mReplyReady = false;  // guarded by mReplyLock
    std::optional<WorkerThread> mReceiver;
};

}  // namespace cabinaudio::bench
