// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/outputs/CardPlayer.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Period.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

using std::chrono::milliseconds;

// Half a second: a sound server that is held up for less loses nothing.
constexpr std::size_t MOST_QUEUED_PERIODS = 32;
// A card that takes nothing for so long is opened again.
constexpr milliseconds CARD_STALL{2000};
// From opening a card until it takes data at its own pace.
constexpr milliseconds CARD_START_PATIENCE{3000};
constexpr milliseconds DRAIN_PATIENCE{700};
// Opening may try several cards, each of which may need OPEN_PATIENCE and CARD_START_PATIENCE.
constexpr milliseconds AWAIT_START{20000};
// Playing the queue, draining, and a reserve.
constexpr milliseconds AWAIT_END{1500};
// Silence is offered faster than it is played: the card, not this clock, must set the pace. A
// device without a clock takes this much.
constexpr milliseconds SILENCE_INTERVAL{15};
constexpr std::chrono::seconds DROP_REPORT_INTERVAL{10};

// Silence that starts a card: its buffer, and one period that it takes only when it runs.
constexpr std::size_t START_PERIODS = milliseconds(CARD_LATENCY_MS) / PERIOD + 1;

}  // namespace

CardPlayer::CardPlayer(std::vector<CardOpener> openers, const OutputFormat& format, bool isOptional)
    : mOpeners(std::move(openers)),
      mFormat(format),
      mIsOptional(isOptional),
      mSilence(std::size_t{framesOfPeriod(format.rate)} * format.channels * sizeOf(format.type)),
      mProblems(mOpeners.size()) {}

std::string CardPlayer::awaitStart() {
    const auto deadline = Clock::now() + AWAIT_START;
    Lock lock(mLock);
    while (!mHasStarted)
        if (!mChanged.waitUntil(lock, deadline)) return "the sound card does not open";
    return mStartProblem;
}

void CardPlayer::push(Bytes period) {
    {
        const Lock lock(mLock);
        mIsActive = true;
        if (!mHasCard) return;
        if (mQueue.size() >= MOST_QUEUED_PERIODS) {
            mDroppedFrames += period.size() / (mFormat.channels * sizeOf(mFormat.type));
            return;
        }
        mQueue.push_back(std::move(period));
    }
    mChanged.notifyAll();
}

void CardPlayer::pause() {
    const Lock lock(mLock);
    mIsActive = false;
}

bool CardPlayer::end() {
    const auto deadline = Clock::now() + AWAIT_END;
    Lock lock(mLock);
    mIsEnding = true;
    mChanged.notifyAll();
    while (!mHasEnded)
        if (!mChanged.waitUntil(lock, deadline)) return mHasEnded;
    return true;
}

std::optional<double> CardPlayer::queuedPeriods() const {
    const Lock lock(mLock);
    if (!mHasCard) return std::nullopt;
    return static_cast<double>(mQueue.size()) +
           static_cast<double>(mCardFrames) / framesOfPeriod(mFormat.rate);
}

OutputState CardPlayer::state() const {
    OutputState state;
    state.device = mHealth.state();
    const Lock lock(mLock);
    state.droppedFrames = mDroppedFrames;
    state.warning = mWarning;
    if (mHasCard && mCardLatency) {
        const auto queue = mQueue.size() * PERIOD;
        state.latencyMs = std::chrono::duration<double, std::milli>(queue + *mCardLatency).count();
    }
    return state;
}

std::string CardPlayer::name() const {
    const Lock lock(mLock);
    return mName;
}

void CardPlayer::run() {
    start();
    while (!isEnding()) {
        if (mCard)
            playSome();
        else
            reopen();
    }
    finish();
}

void CardPlayer::start() {
    const bool isOpen = openAny();
    mSpawn = Spawn::Forbidden;
    const std::string problem = isOpen ? "" : complaint();
    {
        const Lock lock(mLock);
        mHasStarted = true;
        if (!isOpen && mIsOptional)
            mWarning = "no sound card works (" + problem + "): plays to nothing";
        else
            mStartProblem = problem;
        if (!mWarning.empty()) log::warning("%s", mWarning.c_str());
    }
    mChanged.notifyAll();
}

/// The reasons of all openers.
std::string CardPlayer::complaint() const {
    std::string text;
    for (const std::string& problem : mProblems) {
        if (problem.empty()) continue;
        text += (text.empty() ? "" : "; ") + problem;
    }
    return text;
}

/// The kind of card that was lost comes first, and for a while alone: while a sound server
/// restarts, the card behind it must not be taken from it.
bool CardPlayer::openAny() {
    if (mOpener && open(*mOpener)) return true;
    if (mOpener && !mPause.isLongest()) return false;
    for (std::size_t opener = 0; opener < mOpeners.size(); ++opener)
        if (opener != mOpener && open(opener)) return true;
    return false;
}

bool CardPlayer::open(std::size_t opener) {
    try {
        auto card = mOpeners[opener](mSpawn);
        mProblems[opener] = startUp(*card);
        if (!mProblems[opener].empty()) return false;
        mCard = std::move(card);
    } catch (const std::runtime_error& error) {
        mProblems[opener] = error.what();
        log::debug("%s", error.what());
        return false;
    }
    mOpener = opener;
    mPause = {};
    mLastTaken = mNextSilence = Clock::now();
    const Lock lock(mLock);
    mName = mCard->name();
    mHasCard = true;
    return true;
}

/// Plays silence until the card takes data at its own pace. @return an error text
std::string CardPlayer::startUp(SoundCard& card) {
    const auto deadline = Clock::now() + CARD_START_PATIENCE;
    std::size_t missing = START_PERIODS * mSilence.size();
    while (missing > 0) {
        const auto part = std::span(mSilence).first(std::min(missing, mSilence.size()));
        const CardProgress progress = card.write(part, PERIOD);
        if (progress.isLost) return progress.problem;
        missing -= progress.count;
        if (progress.count == 0 && (Clock::now() > deadline || isEnding()))
            return card.name() + ": takes no sound";
    }
    return {};
}

void CardPlayer::reopen() {
    const bool isFirst = !mOpener.has_value();  // there was no card yet
    {
        const auto deadline = Clock::now() + mPause.next();
        Lock lock(mLock);
        while (!mIsEnding && mChanged.waitUntil(lock, deadline)) {
        }
        if (mIsEnding) return;
    }
    const std::string before = name();
    if (!openAny()) {
        if (!isFirst) mHealth.lost(mProblems[*mOpener]);
        return;
    }
    if (!isFirst) {
        heardAgain(before, mHealth.found());
        return;
    }
    log::info("a sound card works now: plays to %s", mCard->name().c_str());
    const Lock lock(mLock);
    mWarning.clear();
}

void CardPlayer::heardAgain(const std::string& before, milliseconds silence) {
    const std::string now = mCard->name();
    const double seconds = std::chrono::duration<double>(silence).count();
    if (now == before)
        log::info("%s is heard again; nothing was heard for %.1f s", now.c_str(), seconds);
    else
        log::info("plays to %s instead of %s; nothing was heard for %.1f s", now.c_str(),
                  before.c_str(), seconds);
}

/// Plays a part of a period, or waits for one.
void CardPlayer::playSome() {
    bool hasPending = !mPending.empty();
    bool isActive = true;
    if (!hasPending) {
        Lock lock(mLock);
        hasPending = takeNext(lock);
        isActive = mIsActive;
    }
    if (hasPending)
        playPending();
    else if (!isActive && Clock::now() >= mNextSilence)
        playSilence();
    else
        notice(mCard->write({}, milliseconds(0)));
    if (mCard) publish();
}

/// Takes a period from the queue; waits for one until silence is due. @return whether there is one
bool CardPlayer::takeNext(Lock& lock) {
    const auto deadline = mIsActive ? Clock::now() + PERIOD : mNextSilence;
    while (!mIsEnding && mQueue.empty() && mChanged.waitUntil(lock, deadline)) {
    }
    if (mQueue.empty()) {
        mLastTaken = Clock::now();  // nothing is offered, so nothing is refused
        return false;
    }
    mPending = std::move(mQueue.front());
    mPendingOffset = 0;
    mQueue.pop_front();
    return true;
}

void CardPlayer::playPending() {
    const auto rest = std::span<const std::uint8_t>(mPending).subspan(mPendingOffset);
    const CardProgress progress = mCard->write(rest, PERIOD);
    const auto now = Clock::now();
    if (progress.count > 0) mLastTaken = now;
    mPendingOffset += progress.count;
    if (mPendingOffset == mPending.size()) {
        mPending.clear();
        mNextSilence = now + SILENCE_INTERVAL;
    }
    notice(progress);
    if (mCard && now - mLastTaken > CARD_STALL) lose(mCard->name() + ": takes no sound");
}

/// A full card takes no silence, and needs none.
void CardPlayer::playSilence() {
    const auto now = Clock::now();
    // After a delay of this thread the card needs more than one period.
    const auto earliest = now - milliseconds(CARD_LATENCY_MS);
    CardProgress progress = mCard->write(mSilence, milliseconds(0));
    const bool isFull = progress.count < mSilence.size();
    mNextSilence = (isFull ? now : std::max(mNextSilence, earliest)) + SILENCE_INTERVAL;
    if (!progress.isLost) progress.problem.clear();  // an underrun of silence is not heard
    notice(progress);
}

void CardPlayer::notice(const CardProgress& progress) {
    if (progress.isLost) {
        lose(progress.problem);
    } else if (!progress.problem.empty()) {
        mHealth.failed(progress.problem);
        log::debug("%s", progress.problem.c_str());
    }
    reportDrops();
}

void CardPlayer::lose(const std::string& problem) {
    {
        const Lock lock(mLock);
        mHasCard = false;
        mQueue.clear();
    }
    mPending.clear();
    mHealth.lost(problem);  // after the queue: a state with the loss has no latency
    log::warning("%s: nothing is heard; tries again", problem.c_str());
    mCard.reset();  // may take long
}

void CardPlayer::publish() {
    const std::size_t frameBytes = mFormat.channels * sizeOf(mFormat.type);
    const std::size_t pending = mPending.empty() ? 0 : mPending.size() - mPendingOffset;
    const std::size_t frames = mCard->queuedFrames() + pending / frameBytes;
    const auto latency = mCard->latency();
    const Lock lock(mLock);
    mCardFrames = frames;
    mCardLatency = latency;
}

/// One line for many dropped periods, and not before the card takes data again.
void CardPlayer::reportDrops() {
    if (!mCard || Clock::now() < mNextDropReport) return;
    std::uint64_t dropped = 0;
    {
        const Lock lock(mLock);
        if (mDroppedFrames == mReportedDrops || mQueue.size() >= MOST_QUEUED_PERIODS) return;
        dropped = mDroppedFrames - std::exchange(mReportedDrops, mDroppedFrames);
    }
    mNextDropReport = Clock::now() + DROP_REPORT_INTERVAL;
    log::warning("%s was held up: %llu frames of the mix (%llu ms) did not fit and are not heard",
                 mCard->name().c_str(), static_cast<unsigned long long>(dropped),
                 static_cast<unsigned long long>(dropped * 1000 / mFormat.rate));
}

/// Plays the rest of the queue, with a limit.
void CardPlayer::finish() {
    const auto deadline =
        Clock::now() + MOST_QUEUED_PERIODS * PERIOD + milliseconds(CARD_LATENCY_MS);
    while (mCard && Clock::now() < deadline) {
        if (mPending.empty()) {
            Lock lock(mLock);
            if (!takeNext(lock)) break;
        }
        playPending();
    }
    if (mCard) mCard->drain(DRAIN_PATIENCE);
    mCard.reset();
    {
        const Lock lock(mLock);
        mHasEnded = true;
    }
    mChanged.notifyAll();
}

bool CardPlayer::isEnding() const {
    const Lock lock(mLock);
    return mIsEnding;
}

}  // namespace cabinaudio::server
