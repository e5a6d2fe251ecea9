// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>

#include <atomic>
#include <cstdint>

struct AudioSocket;

namespace cabinaudio {

/// Counts the loans returned to a record after it was taken out of its slot.
class ReturnedLoans {
public:
    void add() CABINAUDIO_EXCLUDES(mLock);
    /// Waits, without a time limit, until `count` loans have been returned.
    void await(std::uint32_t count) CABINAUDIO_EXCLUDES(mLock);

private:
    // Has its own synchronization.
    AudioMutex mLock{false};
    AudioCondition mChanged{false};
    // Guarded by mLock.
    std::uint32_t mCount CABINAUDIO_GUARDED_BY(mLock) = 0;
};

/// Lends a connection's record to one thread, while another thread may disconnect.
///
/// The slot is the connection's pointer to its record. Its low bits, which are 0 in an address that
/// malloc returns, count the loans. takeRecord() clears the slot and returns the number of loans;
/// from then on each loan is returned to the record itself.
class RecordLoan {
public:
    explicit RecordLoan(std::atomic<AudioSocket*>& slot) noexcept;
    ~RecordLoan();
    RecordLoan(const RecordLoan&) = delete;
    RecordLoan& operator=(const RecordLoan&) = delete;

    /// @return null when not connected, or when more threads use the record than can be counted
    [[nodiscard]] AudioSocket* record() const { return mRecord; }

private:
    std::atomic<AudioSocket*>& mSlot;
    AudioSocket* mRecord;
};

/// A record that no new loan can reach.
struct TakenRecord {
    AudioSocket* record;  // null when there was none
    std::uint32_t loans;  // at the time of taking

    /// Waits, without a time limit, until every loan has been returned.
    void waitForReturn() const;
};

/// Clears the slot. Any thread; does not wait.
[[nodiscard]] TakenRecord takeRecord(std::atomic<AudioSocket*>& slot) noexcept;

}  // namespace cabinaudio
