// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/PlaybackPump.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/common/Fill.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace cabinaudio::plugin {

namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t SECOND_US = 1'000'000;
/// A stream without a ring for this time gets none.
constexpr std::uint64_t RING_PATIENCE_US = 1'000'000;
/// A program that calls snd_pcm_abort() or an equivalent cannot wake a wait.
constexpr auto INTERRUPTION_INTERVAL = 20ms;

std::size_t smaller(std::uint64_t count, std::size_t limit) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(count, limit));
}

std::uint64_t periodOf(audio::QVAudioTrack& track, const PlaybackPump::Settings& settings) {
    const int bytes = track.getPerLoopSize();
    const std::uint64_t frames =
        bytes > 0 ? static_cast<std::uint64_t>(bytes) / settings.frameBytes : 0;
    return frames > 0 ? frames * SECOND_US / settings.rate : USUAL_PERIOD_US;
}

}  // namespace

PlaybackPump::Settings PlaybackPump::Settings::of(const StreamRequest& request,
                                                  std::size_t bufferFrames) {
    Settings settings;
    settings.rate = request.format.sampleRate;
    settings.frameBytes = request.frameBytes();
    settings.silence = request.silence();
    settings.bufferFrames = bufferFrames;
    settings.reportsFinish = request.tag != AUDIO_TAG_ALTERNATIVE;
    settings.isSink = request.tag == AUDIO_TAG_MAIN;
    return settings;
}

PlaybackPump::PlaybackPump(audio::QVAudioTrack& track, const Settings& settings, ReadyEvent& ready,
                           Clock clock)
    : mTrack(track),
      mSettings(settings),
      mClock(clock),
      mTurn(turnFor(settings.bufferFrames, settings.rate)),
      mPeriod(periodOf(track, settings)),
      mSound(settings.bufferFrames, settings.frameBytes, settings.silence),
      mReady(ready) {
    track.setCallback(this);
    ready.become(true);
}

// ---- Requests -----------------------------------------------------------------------------------

/// Stops the stream if it was started. The I/O thread drops the results of a write that this
/// overtakes.
int PlaybackPump::halt(PumpState next) {
    const Lock request(mRequest);
    bool isStarted = false;
    {
        const Lock lock(mLock);
        if (mState == PumpState::Lost) return -ENODEV;
        become(next);
        isStarted = std::exchange(mIsStarted, false);
    }
    if (!isStarted || mTrack.stop() == AUDIO_NO_ERROR) return 0;
    const Lock lock(mLock);
    lose();
    return -ENODEV;
}

int PlaybackPump::go(PumpState next) {
    if (state() == PumpState::Lost) return -ENODEV;
    const int status = mTrack.start();
    const Lock lock(mLock);
    if (status != AUDIO_NO_ERROR) {
        lose();
        return -ENODEV;
    }
    mIsStarted = true;
    become(next);
    return 0;
}

int PlaybackPump::prepare() {
    if (const int error = halt(PumpState::Stopped); error != 0) return error;
    const int status = mTrack.clear();
    const Lock lock(mLock);
    if (status != AUDIO_NO_ERROR) {  // the server has removed the stream
        lose();
        return -ENODEV;
    }
    mEnd = mSent = mClaimed = mPlayed = 0;
    mInRing = 0;
    ++mSoundNumber;
    updateEvent();
    return 0;
}

int PlaybackPump::start() {
    return go(PumpState::Running);
}

int PlaybackPump::stop() {
    return halt(PumpState::Stopped);
}

int PlaybackPump::pause() {
    return halt(PumpState::Paused);
}

int PlaybackPump::resume() {
    return go(PumpState::Running);
}

int PlaybackPump::beginDrain() {
    bool isStarted = false;
    {
        const Lock lock(mLock);
        if (mState == PumpState::Lost) return -ENODEV;
        if (mState == PumpState::Draining) return 0;
        if (mState == PumpState::Stopped && mEnd == 0) {
            become(PumpState::Drained);
            return 0;
        }
        isStarted = mIsStarted;
        if (isStarted) become(PumpState::Draining);
    }
    return isStarted ? 0 : go(PumpState::Draining);
}

int PlaybackPump::waitForDrain(const std::function<bool()>& isInterrupted) {
    const Lock lock(mLock);
    while (mState == PumpState::Draining) {
        if (isInterrupted()) return -EINTR;
        mChanged.waitFor(mLock, INTERRUPTION_INTERVAL);
    }
    if (mState == PumpState::Lost) return -ENODEV;
    return mIsEndOverdue ? -EIO : 0;
}

// ---- The program's side -------------------------------------------------------------------------

void PlaybackPump::moveEnd(std::int64_t frames) {
    if (frames == 0) return;
    const Lock lock(mLock);
    const auto distance = static_cast<std::uint64_t>(frames > 0 ? frames : -frames);
    if (frames > 0) {
        mSound.silence(mEnd, smaller(distance, mSound.capacity()));
        mEnd += distance;
    } else {
        mEnd -= std::min(distance, mEnd);
    }
    mChanged.notifyAll();
}

void PlaybackPump::append(const unsigned char* data, std::size_t frames) {
    const Lock lock(mLock);
    // The frames before this point are the stream's.
    const std::size_t late = mClaimed > mEnd ? smaller(mClaimed - mEnd, frames) : 0;
    if (frames - late > 0)
        mSound.put(mEnd + late, data + late * mSettings.frameBytes, frames - late);
    const bool wasIdle = pending() == 0;
    mEnd += frames;
    updateEvent();
    if (wasIdle) mChanged.notifyAll();
}

std::uint64_t PlaybackPump::position() {
    const Lock lock(mLock);
    look();
    return mPlayed;
}

std::uint64_t PlaybackPump::delay() {
    const Lock lock(mLock);
    look();
    const std::uint64_t left = mEnd > mPlayed ? mEnd - mPlayed : 0;
    if (!isMoving() || mInRing == 0) return left;
    const std::uint64_t since = std::min(mClock() - mWatch.moved(), mPeriod);
    return left - std::min(framesIn(since), left);
}

PumpState PlaybackPump::state() {
    const Lock lock(mLock);
    return mState;
}

PlaybackPump::Course PlaybackPump::course() {
    const Lock lock(mLock);
    look();
    return {mState, mPlayed, mEnd, mWatch.moved(), mInRing == 0 && pending() == 0};
}

std::size_t PlaybackPump::waitForRoom(std::size_t frames) {
    const Lock lock(mLock);
    for (;;) {
        look();
        if (!isMoving() || room() >= frames) return room();
        mChanged.waitFor(mLock, mTurn);
    }
}

void PlaybackPump::setWakeRoom(std::size_t frames) {
    const Lock lock(mLock);
    mWakeRoom = std::clamp<std::size_t>(frames, 1, mSettings.bufferFrames);
    updateEvent();
}

void PlaybackPump::setBreaksWhenDry(bool breaks) {
    const Lock lock(mLock);
    mBreaksWhenDry = breaks;
}

bool PlaybackPump::checkReady() {
    const Lock lock(mLock);
    look();
    updateEvent();
    return isReady();
}

// ---- The I/O thread -----------------------------------------------------------------------------

void PlaybackPump::turn() {
    const Lock lock(mLock);
    if (mIsLeaving) return;
    const unsigned run = mRun;
    moveLocked();
    if (run != mRun) return;  // the thread may have to tell others
    if (isMoving())
        mChanged.waitFor(mLock, mTurn);
    else if (!mIsLeaving)
        mChanged.wait(mLock);
}

void PlaybackPump::move() {
    const Lock lock(mLock);
    moveLocked();
}

void PlaybackPump::leave() {
    const Lock lock(mLock);
    mIsLeaving = true;
    mChanged.notifyAll();
}

bool PlaybackPump::isLeaving() {
    const Lock lock(mLock);
    return mIsLeaving;
}

void PlaybackPump::moveLocked() {
    if (!isMoving()) return;
    look();
    ask();
    feed();
    if (mState == PumpState::Draining) stepDrain();
    if (mState == PumpState::Running) noticeDryness();
    updateEvent();
}

/// Takes the server's progress over.
void PlaybackPump::look() {
    if (!isMoving()) return;
    const std::uint64_t now = mClock();
    const Fill fill = fillOf(mTrack, mSettings.frameBytes);
    mHasRing = fill.total != 0;
    mInRing = smaller(mSent, fill.used);
    mHadRing = mHadRing || mHasRing;
    if (mHasRing)
        mPaced = now;
    else if (mSettings.isSink && (mHadRing || now - mStartTime >= RING_PATIENCE_US))
        discardByClock(now);
    // The end of a drain is what the server reports, not the empty ring.
    const std::uint64_t limit = mState == PumpState::Draining && mEnd > 0 ? mEnd - 1 : mEnd;
    mPlayed = std::max(mPlayed, std::min(mSent - mInRing, limit));
    mWatch.note(mSent - mInRing, now);
    const bool isIdle = mInRing == 0 && pending() == 0;
    if (isIdle && mState == PumpState::Running) mWatch.reset(now);
}

/// A sink that has no source.
void PlaybackPump::discardByClock(std::uint64_t now) {
    const std::uint64_t due = framesIn(now - mPaced);
    const std::uint64_t frames = std::min(due, pending());
    mSent += frames;
    mClaimed = mSent;
    mPaced = frames < due ? now : mPaced + lengthOf(frames);
}

/// Asks a stream that stands still whether it still exists: to start a started stream sends
/// nothing, and is refused when the server is gone or has removed it.
void PlaybackPump::ask() {
    if (!mWatch.mustAsk(mClock())) return;
    const unsigned run = mRun;
    mLock.unlock();
    const int status = startAgain(run);
    mLock.lock();
    if (run != mRun) return;
    const std::uint64_t now = mClock();  // it may have moved meanwhile
    const bool hasNoRing =
        !mHasRing && !mSettings.isSink && now - mWatch.moved() >= RING_PATIENCE_US;
    if (status != AUDIO_NO_ERROR || hasNoRing || mWatch.isOverdue(now)) lose();
}

/// Not after a halt() that came in between: that stream must stay stopped.
int PlaybackPump::startAgain(unsigned run) {
    const Lock request(mRequest);
    {
        const Lock lock(mLock);
        if (run != mRun) return AUDIO_NO_ERROR;
    }
    return mTrack.start();
}

/// Fills the ring. Never waits in the library: a blocking write does not tell how much it has
/// written when it fails.
void PlaybackPump::feed() {
    if (!mHasRing) return;
    for (int piece = 0; piece < 2 && isMoving(); ++piece) {  // the buffer's end may be in between
        const Fill fill = fillOf(mTrack, mSettings.frameBytes);
        if (fill.total == 0 || feedOnce(fill.free) == 0) return;
    }
}

/// @return frames that were handed over
std::size_t PlaybackPump::feedOnce(std::size_t room) {
    const std::size_t wanted = smaller(pending(), room);
    const auto bytes = mSound.piece(mSent, wanted);
    if (wanted == 0 || bytes.empty()) return 0;
    const std::size_t frames = bytes.size() / mSettings.frameBytes;
    const unsigned run = mRun;
    const unsigned sound = mSoundNumber;
    // A program that writes these positions once more must not change them now.
    mClaimed = mSent + frames;
    mLock.unlock();
    const int status = mTrack.write(bytes.data(), static_cast<int>(bytes.size()), false);
    mLock.lock();
    if (sound != mSoundNumber) return 0;
    // Also after a pause that came in between: these frames are in the ring, or are not.
    const std::size_t done = static_cast<std::size_t>(std::max(status, 0)) / mSettings.frameBytes;
    mSent += done;
    mClaimed = mSent;
    mInRing += done;
    if (run != mRun) return 0;
    if (status < 0 && status != AUDIO_TIMED_OUT) lose();
    return done;
}

void PlaybackPump::stepDrain() {
    if (pending() != 0) return;
    if (!mIsEndAnnounced) announceEnd();
    if (mState != PumpState::Draining) return;
    const bool isOverdue = mClock() >= mEndDeadline;
    if (!isPlayedOut() && !isOverdue) return;
    mIsEndOverdue = isOverdue && !isPlayedOut();
    mPlayed = mEnd;
    become(PumpState::Drained);
}

void PlaybackPump::announceEnd() {
    mIsEndAnnounced = true;
    mEndDeadline = mClock() + lengthOf(queued()) + SECOND_US;
    if (!mSettings.reportsFinish) return;
    const unsigned run = mRun;
    mLock.unlock();
    const int status = mTrack.writeDone();
    mLock.lock();
    if (run != mRun || status == AUDIO_NO_ERROR) return;
    // A sink whose source was withdrawn has nothing left to play.
    if (mSettings.isSink && status == AUDIO_INVALID_STATE)
        mIsFinished = true;
    else
        lose();
}

bool PlaybackPump::isPlayedOut() {
    if (mSettings.reportsFinish) return mIsFinished;
    if (mInRing != 0) {
        mDrySince = 0;
        return false;
    }
    // The server plays a period when it takes it.
    if (mDrySince == 0) mDrySince = mClock();
    return mClock() - mDrySince >= mPeriod;
}

/// Between two periods the ring of a small buffer is empty as a matter of course.
void PlaybackPump::noticeDryness() {
    const std::uint64_t now = mClock();
    if (mInRing != 0 || pending() != 0) {
        mDrySince = 0;
        return;
    }
    if (mDrySince == 0) mDrySince = now;
    if (mBreaksWhenDry && now - mDrySince > mPeriod) become(PumpState::Broken);
}

/// Runs on the stream's notifier thread.
void PlaybackPump::finish(bool /*isAborted*/) {
    const Lock lock(mLock);
    if (!mIsEndAnnounced) return;
    mIsFinished = true;
    mChanged.notifyAll();
}

// ---- State --------------------------------------------------------------------------------------

void PlaybackPump::lose() {
    mIsStarted = false;
    become(PumpState::Lost);
}

void PlaybackPump::become(PumpState next) {
    const std::uint64_t now = mClock();
    mState = next;
    ++mRun;
    mWatch.reset(now);
    mPaced = mStartTime = now;
    mDrySince = 0;
    if (next != PumpState::Drained) mIsEndAnnounced = mIsFinished = mIsEndOverdue = false;
    updateEvent();
    mChanged.notifyAll();
}

void PlaybackPump::updateEvent() {
    mReady.become(isReady());
}

bool PlaybackPump::isMoving() const {
    return mState == PumpState::Running || mState == PumpState::Draining;
}

bool PlaybackPump::isReady() const {
    switch (mState) {
        case PumpState::Running:
        case PumpState::Paused:
            return mEnd - mPlayed + mWakeRoom <= mSettings.bufferFrames;
        case PumpState::Draining:
            return false;
        default:
            return true;
    }
}

/// Frames that the stream has not got yet.
std::uint64_t PlaybackPump::pending() const {
    return mEnd > mSent ? mEnd - mSent : 0;
}

std::uint64_t PlaybackPump::queued() const {
    return pending() + mInRing;
}

std::size_t PlaybackPump::room() const {
    const std::uint64_t used = mEnd - mPlayed;
    return used < mSettings.bufferFrames ? mSettings.bufferFrames - static_cast<std::size_t>(used)
                                         : 0;
}

std::uint64_t PlaybackPump::framesIn(std::uint64_t us) const {
    return us * mSettings.rate / SECOND_US;
}

std::uint64_t PlaybackPump::lengthOf(std::uint64_t frames) const {
    return frames * SECOND_US / mSettings.rate;
}

}  // namespace cabinaudio::plugin
