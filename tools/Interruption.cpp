// SPDX-License-Identifier: Apache-2.0
#include "tools/Interruption.h"

#include <atomic>
#include <csignal>
#include <cstring>

namespace cabinaudio::tool {

namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

// A signal handler can reach the event only through a global.
std::atomic<const Event*> gEvent{nullptr};
std::atomic<int> gSignal{0};
static_assert(std::atomic<int>::is_always_lock_free);
static_assert(std::atomic<const Event*>::is_always_lock_free);

void mask(int how) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : SIGNALS)
        sigaddset(&set, signal);
    pthread_sigmask(how, &set, nullptr);
}

}  // namespace

Interruption::Interruption() {
    mask(SIG_BLOCK);
    gEvent = &mEvent;
    for (const int signal : SIGNALS) {
        struct sigaction present = {};
        sigaction(signal, nullptr, &present);
        if (present.sa_handler == SIG_IGN) continue;
        struct sigaction action = {};
        action.sa_handler = &Interruption::note;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

void Interruption::receiveHere() {
    mask(SIG_UNBLOCK);
}

void Interruption::note(int signal) {
    int none = 0;
    if (gSignal.compare_exchange_strong(none, signal)) {
        gEvent.load()->set();
        return;
    }
    // Second signal: restore the default action and raise it again; it takes effect when this
    // handler returns.
    struct sigaction die = {};
    die.sa_handler = SIG_DFL;
    sigaction(signal, &die, nullptr);
    raise(signal);
}

bool Interruption::hasHappened() const {
    return gSignal != 0;
}

std::string Interruption::signalName() const {
    switch (gSignal) {
        case SIGINT:
            return "SIGINT";
        case SIGTERM:
            return "SIGTERM";
        case SIGHUP:
            return "SIGHUP";
        default:
            return "signal " + std::to_string(gSignal);
    }
}

}  // namespace cabinaudio::tool
