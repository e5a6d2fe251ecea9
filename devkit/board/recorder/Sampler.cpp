// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/Sampler.h"

#include "devkit/board/recorder/CaptureFile.h"
#include "devkit/board/recorder/Lock.h"
#include "devkit/board/recorder/Rings.h"

#include <pthread.h>
#include <time.h>

#include <csignal>

namespace cabinaudio::recorder {
namespace {

// A fourth of the server's period: a ring holds several periods, so the offsets do not go around
// unnoticed, and sound is copied before it is overwritten.
constexpr long INTERVAL_NS = 4'000'000;
constexpr std::size_t STACK_SIZE = std::size_t{256} << 10;

constinit Lock gLock;
constinit bool gRuns = false;

/// @return whether the thread has to go on
bool goesOn() noexcept {
    const Hold hold(gLock);
    if (!hold || (hasRings() && isRecording())) return true;
    gRuns = false;
    return false;
}

void* sample(void* /*nothing*/) noexcept {
    pthread_setname_np(pthread_self(), "cabin-recorder");
    const timespec interval = {0, INTERVAL_NS};
    while (goesOn()) {
        recordRings(false);
        nanosleep(&interval, nullptr);
    }
    return nullptr;
}

/// The thread takes no signal that the application expects in its own threads.
bool startThread() noexcept {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, STACK_SIZE);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const int failed = pthread_create(&thread, &attributes, sample, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return failed == 0;
}

}  // namespace

void startSampler() noexcept {
    const Hold hold(gLock);
    if (!hold || gRuns) return;
    gRuns = startThread();
    if (!gRuns) complain("cannot start a thread; rings are recorded incompletely");
}

void forgetSampler() noexcept {
    gLock.reset();
    gRuns = false;
}

}  // namespace cabinaudio::recorder
