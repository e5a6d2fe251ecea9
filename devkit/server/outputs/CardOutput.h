// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/outputs/CardPlayer.h"
#include "devkit/server/outputs/Output.h"

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

namespace cabinaudio::server {

/// Plays to a sound card through a CardPlayer. The card's clock differs from the server's; a period
/// more or less now and then keeps the length of the queue.
class CardOutput : public Output {
public:
    /// Returns when the card runs. @throws std::runtime_error with the reason
    CardOutput(std::vector<CardOpener> openers, const OutputFormat& format,
               bool isOptional = false);
    /// Plays the queue to its end, unless the card takes too long for that.
    ~CardOutput() override;
    CardOutput(const CardOutput&) = delete;
    CardOutput& operator=(const CardOutput&) = delete;

    void write(std::span<const float> frames) override;
    std::uint64_t periodsDue(std::uint64_t deadlines) override;
    void pause() override { mPlayer->pause(); }
    [[nodiscard]] OutputState state() const override { return mPlayer->state(); }
    [[nodiscard]] std::string name() const override { return mPlayer->name(); }

private:
    void endPlayer();

    SampleType mType;
    std::uint64_t mTicks = 0;  // of the present interval between corrections
    double mShortestQueue;     // in it
    std::shared_ptr<CardPlayer> mPlayer;
    std::thread mThread;  // shares the player
};

}  // namespace cabinaudio::server
