// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/cards/SoundCard.h"
#include "devkit/server/outputs/Output.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace cabinaudio::server {

/// Plays to a sound card from a thread of its own, behind a short queue: the card blocks, the event
/// loop must not. The card's clock is not the server's; a period more or less now and then keeps
/// the queue at its length.
class CardOutput : public Output {
public:
    CardOutput(std::unique_ptr<SoundCard> card, const OutputFormat& format);
    /// Plays what is queued to its end.
    ~CardOutput() override;

    void write(std::span<const float> frames) override;
    std::uint64_t periodsDue(std::uint64_t deadlines) override;
    void pause() override;
    [[nodiscard]] std::uint64_t errors() const override { return mErrors; }
    [[nodiscard]] std::string name() const override { return mCard->name(); }

private:
    using Bytes = std::vector<std::uint8_t>;  // empty: play to the end

    void push(Bytes bytes);
    void run();
    void play(const Bytes& bytes);
    void countError(const std::string& problem);

    std::unique_ptr<SoundCard> mCard;  // used by the thread once it runs
    SampleType mType;
    std::atomic<std::uint64_t> mErrors{0};
    std::uint64_t mTicksSinceCorrection = 0;

    std::mutex mLock;
    std::condition_variable mChanged;
    std::deque<Bytes> mQueue;  // guarded by mLock
    bool mIsOver = false;      // guarded by mLock

    std::thread mThread;  // last: uses all of the above
};

}  // namespace cabinaudio::server
