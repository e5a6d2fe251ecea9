// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Mutex.h"
#include "devkit/server/cards/DeviceHealth.h"
#include "devkit/server/cards/SoundCard.h"
#include "devkit/server/outputs/Output.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// A kind of card: opens it, or throws std::runtime_error with the reason.
using CardOpener = std::function<std::unique_ptr<SoundCard>(Spawn spawn)>;

/// Plays periods of the mix to a card on a thread of its own. The card may block, stall and vanish:
/// the event loop only puts periods into a bounded queue. Between two streams silence keeps the
/// card running, because a card or sound server that starts takes no data for up to two seconds. A
/// lost card is opened again until the end.
///
/// A card that blocks for ever cannot be joined, so the thread shares this object with its owner.
class CardPlayer {
public:
    using Bytes = std::vector<std::uint8_t>;

    /// @param openers  in the order of preference
    /// @param isOptional  without any card plays to nothing and looks for one from time to time
    CardPlayer(std::vector<CardOpener> openers, const OutputFormat& format, bool isOptional);

    // The owner's thread.

    /// Runs until end(). Called once, on a new thread.
    void run() CABINAUDIO_EXCLUDES(mLock);
    /// Waits until the first card runs. @return an error text; empty on success, also without a
    /// card if that is optional
    [[nodiscard]] std::string awaitStart() CABINAUDIO_EXCLUDES(mLock);
    /// Queues a period. It is dropped if there is no room or no card.
    void push(Bytes period) CABINAUDIO_EXCLUDES(mLock);
    /// No more periods follow for now.
    void pause() CABINAUDIO_EXCLUDES(mLock);
    /// Plays the queue to its end. @return false if the card holds the thread beyond all bounds
    [[nodiscard]] bool end() CABINAUDIO_EXCLUDES(mLock);

    /// Periods in the queue and in the card's buffer; empty without a card.
    [[nodiscard]] std::optional<double> queuedPeriods() const CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] OutputState state() const CABINAUDIO_EXCLUDES(mLock);
    /// Of the card, or of the last one; "nothing" if there was none.
    [[nodiscard]] std::string name() const CABINAUDIO_EXCLUDES(mLock);

private:
    using Clock = std::chrono::steady_clock;

    // The player's thread.
    void start();
    [[nodiscard]] bool openAny();
    [[nodiscard]] bool open(std::size_t opener);
    [[nodiscard]] std::string startUp(SoundCard& card);
    void reopen();
    void heardAgain(const std::string& before, std::chrono::milliseconds silence);
    void playSome();
    [[nodiscard]] bool takeNext(Lock& lock) CABINAUDIO_REQUIRES(mLock);
    void playPending();
    void playSilence();
    void notice(const CardProgress& progress);
    void lose(const std::string& problem);
    void publish();
    void reportDrops();
    void finish();
    [[nodiscard]] bool isEnding() const CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] std::string complaint() const;

    // Set at construction.
    const std::vector<CardOpener> mOpeners;
    const OutputFormat mFormat;
    const bool mIsOptional;
    const Bytes mSilence;  // one period

    // Of the player's thread.
    std::unique_ptr<SoundCard> mCard;    // null: lost, or none was found
    std::optional<std::size_t> mOpener;  // of the present or the last card
    std::vector<std::string> mProblems;  // of the openers' last attempts
    RetryPause mPause;
    Spawn mSpawn = Spawn::Allowed;
    Bytes mPending;  // rest of the period that the card is taking
    std::size_t mPendingOffset = 0;
    Clock::time_point mLastTaken;    // the last time that the card took data
    Clock::time_point mNextSilence;  // until then the mix may come first
    Clock::time_point mNextDropReport;
    std::uint64_t mReportedDrops = 0;

    // Has its own synchronization.
    DeviceHealth mHealth;
    mutable Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    std::deque<Bytes> mQueue CABINAUDIO_GUARDED_BY(mLock);
    bool mIsActive CABINAUDIO_GUARDED_BY(mLock) = false;  // periods follow
    bool mIsEnding CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mHasStarted CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mHasEnded CABINAUDIO_GUARDED_BY(mLock) = false;
    std::string mStartProblem CABINAUDIO_GUARDED_BY(mLock);
    std::string mName CABINAUDIO_GUARDED_BY(mLock) = "nothing";
    std::string mWarning CABINAUDIO_GUARDED_BY(mLock);
    bool mHasCard CABINAUDIO_GUARDED_BY(mLock) = false;
    std::uint64_t mDroppedFrames CABINAUDIO_GUARDED_BY(mLock) = 0;
    std::size_t mCardFrames CABINAUDIO_GUARDED_BY(mLock) = 0;  // taken, or being taken
    std::optional<std::chrono::microseconds> mCardLatency CABINAUDIO_GUARDED_BY(mLock);
};

}  // namespace cabinaudio::server
