// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/outputs/CardOutput.h"

#include "devkit/server/base/Log.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

// Periods between mix and card, at the shortest. The card takes several at once, so that the queue
// varies; its shortest length shows whether there is too little or too much.
constexpr double QUEUE_LOW = 1;
constexpr double QUEUE_HIGH = 5;
// Clocks of sound cards differ by some hundred ppm; one period in 32 is the largest correction.
constexpr std::uint64_t TICKS_BETWEEN_CORRECTIONS = 32;

constexpr double UNKNOWN = std::numeric_limits<double>::infinity();

}  // namespace

CardOutput::CardOutput(std::vector<CardOpener> openers, const OutputFormat& format, bool isOptional)
    : mType(format.type),
      mShortestQueue(UNKNOWN),
      mPlayer(std::make_shared<CardPlayer>(std::move(openers), format, isOptional)),
      mThread([player = mPlayer] { player->run(); }) {
    const std::string problem = mPlayer->awaitStart();
    if (problem.empty()) return;
    endPlayer();
    throw std::runtime_error(problem);
}

CardOutput::~CardOutput() {
    mPlayer->pause();
    endPlayer();
}

void CardOutput::endPlayer() {
    if (mPlayer->end()) {
        mThread.join();
        return;
    }
    log::warning("%s does not end; left alone", mPlayer->name().c_str());
    mThread.detach();
}

void CardOutput::write(std::span<const float> frames) {
    CardPlayer::Bytes bytes;
    encodeSamples(mType, frames, bytes);
    mPlayer->push(std::move(bytes));
}

std::uint64_t CardOutput::periodsDue(std::uint64_t deadlines) {
    const auto queued = mPlayer->queuedPeriods();
    if (!queued) {
        mTicks = 0;
        mShortestQueue = UNKNOWN;
        return deadlines;
    }
    mTicks += deadlines;
    mShortestQueue = std::min(mShortestQueue, *queued);
    if (mTicks < TICKS_BETWEEN_CORRECTIONS) return deadlines;
    mTicks = 0;
    const double shortest = std::exchange(mShortestQueue, UNKNOWN);
    if (shortest < QUEUE_LOW) return deadlines + 1;
    return shortest > QUEUE_HIGH ? deadlines - 1 : deadlines;
}

}  // namespace cabinaudio::server
