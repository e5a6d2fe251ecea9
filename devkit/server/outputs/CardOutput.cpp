// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/outputs/CardOutput.h"

#include "devkit/server/base/Log.h"

#include <utility>

namespace cabinaudio::server {
namespace {

// Periods queued for the card.
constexpr std::size_t QUEUE_LOW = 1;
constexpr std::size_t QUEUE_HIGH = 4;
// Clocks of sound cards differ by some hundred ppm; one period in 32 is the largest correction.
constexpr std::uint64_t TICKS_BETWEEN_CORRECTIONS = 32;

}  // namespace

CardOutput::CardOutput(std::unique_ptr<SoundCard> card, const OutputFormat& format)
    : mCard(std::move(card)), mType(format.type), mThread([this] { run(); }) {}

CardOutput::~CardOutput() {
    pause();
    {
        const Lock lock(mLock);
        mIsOver = true;
    }
    mChanged.notifyOne();
    mThread.join();
}

void CardOutput::write(std::span<const float> frames) {
    Bytes bytes;
    encodeSamples(mType, frames, bytes);
    push(std::move(bytes));
}

std::uint64_t CardOutput::periodsDue(std::uint64_t deadlines) {
    std::size_t queued = 0;
    {
        const Lock lock(mLock);
        queued = mQueue.size();
    }
    mTicksSinceCorrection += deadlines;
    if (queued >= QUEUE_HIGH) return 0;
    if (queued >= QUEUE_LOW || mTicksSinceCorrection < TICKS_BETWEEN_CORRECTIONS) return deadlines;
    mTicksSinceCorrection = 0;
    return deadlines + 1;
}

void CardOutput::pause() {
    push({});
}

void CardOutput::push(Bytes bytes) {
    {
        const Lock lock(mLock);
        mQueue.push_back(std::move(bytes));
    }
    mChanged.notifyOne();
}

void CardOutput::run() {
    Lock lock(mLock);
    while (true) {
        while (!mIsOver && mQueue.empty())
            mChanged.wait(lock);
        if (mQueue.empty()) return;
        const Bytes bytes = std::move(mQueue.front());
        lock.unlock();
        play(bytes);
        lock.lock();
        mQueue.pop_front();  // only now: a period being written still counts as queued
    }
}

void CardOutput::play(const Bytes& bytes) {
    if (bytes.empty())
        mCard->drain();
    else if (const std::string problem = mCard->write(bytes); !problem.empty())
        countError(problem);
}

void CardOutput::countError(const std::string& problem) {
    // An unplugged card fails at every period.
    if (mErrors++ == 0)
        log::warning("%s; further trouble is only counted", problem.c_str());
    else
        log::debug("%s", problem.c_str());
}

}  // namespace cabinaudio::server
