// SPDX-License-Identifier: Apache-2.0
#include "bench/wake/FutexChain.h"

#include "shm/Futex.h"

#include <cerrno>

namespace cabinaudio::bench {

namespace {

std::uint32_t valueOf(std::uint32_t& word) {
    return std::atomic_ref(word).load(std::memory_order_acquire);
}

/// @return false when a sleep has exceeded the limit
bool sleepWhile(std::uint32_t& word, int operation, std::uint32_t value, const timespec* limit) {
    while (valueOf(word) == value)
        if (futexWait(&word, operation, value, limit) != 0 && errno == ETIMEDOUT) return false;
    return true;
}

}  // namespace

FutexChain::FutexChain(std::uint32_t* word) : mWord(word) {
    mThread.emplace("FutexChain", pass, this);
}

FutexChain::~FutexChain() {
    mRunning = false;
    std::atomic_ref(*mWord).fetch_add(1);
    futexWake(mWord, FUTEX_WAKE, 1);
}

bool FutexChain::wait(const timespec* limit) {
    if (!sleepWhile(mPassed, FUTEX_WAIT_PRIVATE, mSeen, limit)) return false;
    mSeen = valueOf(mPassed);
    return true;
}

void* FutexChain::pass(void* self) {
    auto& chain = *static_cast<FutexChain*>(self);
    std::uint32_t seen = 0;  // the word's initial value
    for (;;) {
        sleepWhile(*chain.mWord, FUTEX_WAIT, seen, nullptr);
        seen = valueOf(*chain.mWord);
        if (!chain.mRunning) return nullptr;
        std::atomic_ref(chain.mPassed).fetch_add(1, std::memory_order_release);
        futexWake(&chain.mPassed, FUTEX_WAKE_PRIVATE, 1);
    }
}

}  // namespace cabinaudio::bench
