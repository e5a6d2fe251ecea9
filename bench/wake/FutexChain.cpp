// SPDX-License-Identifier: Apache-2.0
#include "bench/wake/FutexChain.h"

#include "shm/Futex.h"

namespace cabinaudio::bench {

namespace {

std::uint32_t valueOf(std::uint32_t& word) {
    return std::atomic_ref(word).load(std::memory_order_acquire);
}

void sleepWhile(std::uint32_t& word, int operation, std::uint32_t value) {
    while (valueOf(word) == value)
        futexWait(&word, operation, value, nullptr);
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

void FutexChain::wait() {
    sleepWhile(mPassed, FUTEX_WAIT_PRIVATE, mSeen);
    mSeen = valueOf(mPassed);
}

void* FutexChain::pass(void* self) {
    auto& chain = *static_cast<FutexChain*>(self);
    std::uint32_t seen = 0;  // what the word begins with
    for (;;) {
        sleepWhile(*chain.mWord, FUTEX_WAIT, seen);
        seen = valueOf(*chain.mWord);
        if (!chain.mRunning) return nullptr;
        std::atomic_ref(chain.mPassed).fetch_add(1, std::memory_order_release);
        futexWake(&chain.mPassed, FUTEX_WAKE_PRIVATE, 1);
    }
}

}  // namespace cabinaudio::bench
