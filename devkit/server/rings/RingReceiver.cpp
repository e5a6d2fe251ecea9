// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/RingReceiver.h"

#include "foundation/FaultSignals.h"

#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <csignal>

namespace cabinaudio::server {
namespace {

// Ignored by default, and not used by the server's libraries.
constexpr int INTERRUPTION = SIGURG;

// A receiver that has not ended is interrupted again after this time: the signal may have arrived
// between its check and its wait.
constexpr std::chrono::milliseconds INTERVAL{10};

sem_t* semaphoreOf(wire::RingHeader& header, unsigned side) {
    return reinterpret_cast<sem_t*>(side == SHM_MODE_READER ? &header.readSem : &header.writeSem);
}

/// Without SA_RESTART, so that the signal ends the wait.
void installHandler() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(INTERRUPTION, &action, nullptr);
}

/// Blocks all signals during its lifetime, so that a new thread starts with them blocked.
class Blocked {
public:
    Blocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &mBefore);
    }
    ~Blocked() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    Blocked(const Blocked&) = delete;
    Blocked& operator=(const Blocked&) = delete;

private:
    sigset_t mBefore;
};

/// The SIGBUS handler works in this thread too (see MemoryFault.h).
void unblockOwnSignals() {
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, INTERRUPTION);
    for (const int signal : FAULT_SIGNALS)
        sigaddset(&own, signal);
    pthread_sigmask(SIG_UNBLOCK, &own, nullptr);
}

}  // namespace

RingReceiver::RingReceiver(wire::RingHeader& header, unsigned side,
                           ShareMemoryUpdateNotificationCallback& callback)
    : mSemaphore(semaphoreOf(header, side)), mCallback(callback) {
    static const bool isInstalled = (installHandler(), true);
    static_cast<void>(isInstalled);
    std::uint8_t& isAskedFor = side == SHM_MODE_READER ? header.readNotify : header.writeNotify;
    std::atomic_ref(isAskedFor).store(1, std::memory_order_relaxed);
    const Blocked signals;
    mThread = std::thread([this] { run(); });
}

RingReceiver::~RingReceiver() {
    mEnds = true;
    sem_post(mSemaphore);  // normal wake-up; fails when the client has filled the count
    while (!waitForEnd())
        pthread_kill(mThread.native_handle(), INTERRUPTION);
    mThread.join();
}

bool RingReceiver::waitForEnd() {
    const auto deadline = std::chrono::steady_clock::now() + INTERVAL;
    Lock lock(mLock);
    while (!mHasEnded) {
        if (!mChanged.waitUntil(lock, deadline)) return mHasEnded;
    }
    return true;
}

void RingReceiver::run() {
    pthread_setname_np(pthread_self(), "ring-receiver");
    unblockOwnSignals();
    receive();
    const Lock lock(mLock);
    mHasEnded = true;
    mChanged.notifyAll();
}

void RingReceiver::receive() {
    while (!mEnds) {
        if (sem_wait(mSemaphore) == 0) {
            if (!mEnds) mCallback.notify();
        } else if (errno != EINTR && errno != EFAULT) {  // EFAULT: cut off just before the wait
            return;
        }
    }
}

}  // namespace cabinaudio::server
