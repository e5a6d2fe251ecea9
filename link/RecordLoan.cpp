// SPDX-License-Identifier: Apache-2.0
#include "link/RecordLoan.h"

#include "link/AudioSocket.h"

#include <cstddef>

namespace cabinaudio {
namespace {

// malloc aligns for every type, which leaves room to count 7 loans on the target and 15 on 64-bit
// builds. Normally there is one requester and one disconnecting thread.
constexpr std::uintptr_t LOANS = alignof(std::max_align_t) - 1;

std::uintptr_t bitsOf(AudioSocket* value) {
    return reinterpret_cast<std::uintptr_t>(value);
}

AudioSocket* recordIn(AudioSocket* value) {
    return reinterpret_cast<AudioSocket*>(bitsOf(value) & ~LOANS);
}

std::uintptr_t loansIn(AudioSocket* value) {
    return bitsOf(value) & LOANS;
}

AudioSocket* withOneMore(AudioSocket* value) {
    return reinterpret_cast<AudioSocket*>(bitsOf(value) + 1);
}

AudioSocket* withOneLess(AudioSocket* value) {
    return reinterpret_cast<AudioSocket*>(bitsOf(value) - 1);
}

}  // namespace

// Out of line: inlined, it would make every return of a loan save registers for it.
[[gnu::noinline]] void ReturnedLoans::add() {
    const AudioMutex::AutoLock lock(mLock);
    ++mCount;
    mChanged.signal();
}

void ReturnedLoans::await(std::uint32_t count) {
    const AudioMutex::AutoLock lock(mLock);
    while (mCount < count)
        mChanged.wait(mLock);
}

RecordLoan::RecordLoan(std::atomic<AudioSocket*>& slot) noexcept : mSlot(slot), mRecord(nullptr) {
    AudioSocket* seen = slot.load(std::memory_order_acquire);
    while (recordIn(seen) != nullptr && loansIn(seen) != LOANS) {
        AudioSocket* const record = recordIn(seen);
        if (slot.compare_exchange_weak(seen, withOneMore(seen), std::memory_order_acq_rel,
                                       std::memory_order_acquire)) {
            mRecord = record;
            return;
        }
    }
}

RecordLoan::~RecordLoan() {
    if (mRecord == nullptr) return;
    AudioSocket* seen = mSlot.load(std::memory_order_acquire);
    while (recordIn(seen) == mRecord) {
        if (mSlot.compare_exchange_weak(seen, withOneLess(seen), std::memory_order_acq_rel,
                                        std::memory_order_acquire))
            return;
    }
    mRecord->mReturnedLoans.add();  // the record may be freed as soon as this returns
}

TakenRecord takeRecord(std::atomic<AudioSocket*>& slot) noexcept {
    AudioSocket* const taken = slot.exchange(nullptr, std::memory_order_acq_rel);
    return {recordIn(taken), static_cast<std::uint32_t>(loansIn(taken))};
}

void TakenRecord::waitForReturn() const {
    record->mReturnedLoans.await(loans);
}

}  // namespace cabinaudio
