// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Mutex.h"
#include "devkit/server/cards/SoundCard.h"
#include "devkit/server/outputs/Output.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

namespace cabinaudio::server {

/// Plays to a sound card from its own thread, through a short queue: the card blocks, and the event
/// loop must not. The card's clock differs from the server's; a period more or less now and then
/// keeps the queue's length.
class CardOutput : public Output {
public:
    CardOutput(std::unique_ptr<SoundCard> card, const OutputFormat& format);
    /// Plays the queue to its end.
    ~CardOutput() override;

    void write(std::span<const float> frames) override;
    std::uint64_t periodsDue(std::uint64_t deadlines) override;
    void pause() override;
    [[nodiscard]] std::uint64_t errors() const override { return mErrors; }
    [[nodiscard]] std::string name() const override { return mCard->name(); }

private:
    using Bytes = std::vector<std::uint8_t>;  // empty: drain the card

    void push(Bytes bytes) CABINAUDIO_EXCLUDES(mLock);
    void run() CABINAUDIO_EXCLUDES(mLock);
    void play(const Bytes& bytes);
    void countError(const std::string& problem);

    // Set at construction. Only the playing thread uses it.
    std::unique_ptr<SoundCard> mCard;
    SampleType mType;

    // Of the event loop's thread.
    std::uint64_t mTicksSinceCorrection = 0;

    // Has its own synchronization.
    std::atomic<std::uint64_t> mErrors{0};
    Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    std::deque<Bytes> mQueue CABINAUDIO_GUARDED_BY(mLock);
    bool mIsOver CABINAUDIO_GUARDED_BY(mLock) = false;

    std::thread mThread;  // last: uses all members above
};

}  // namespace cabinaudio::server
