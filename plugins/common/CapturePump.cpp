// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/CapturePump.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace cabinaudio::plugin {

CapturePump::CapturePump(audio::QVAudioRecord& record, const Settings& settings, ReadyEvent& ready,
                         Clock clock)
    : mRecord(record),
      mSettings(settings),
      mClock(clock),
      mTurn(turnFor(settings.bufferFrames, settings.rate)),
      mSound(settings.bufferFrames, settings.frameBytes, 0),
      mReady(ready) {
    ready.become(false);
}

// ---- Requests -----------------------------------------------------------------------------------

int CapturePump::halt(PumpState next) {
    bool isStarted = false;
    {
        const Lock lock(mLock);
        if (mState == PumpState::Lost) return -ENODEV;
        become(next);
        isStarted = std::exchange(mIsStarted, false);
    }
    if (!isStarted || mRecord.stop() == AUDIO_NO_ERROR) return 0;
    const Lock lock(mLock);
    lose();
    return -ENODEV;
}

int CapturePump::prepare() {
    if (const int error = halt(PumpState::Stopped); error != 0) return error;
    const int status = mRecord.clear();
    const Lock lock(mLock);
    if (status != AUDIO_NO_ERROR) {  // the server has removed the stream
        lose();
        return -ENODEV;
    }
    mCaptured = mTaken = 0;
    mOdd = 0;
    ++mSoundNumber;
    updateEvent();
    return 0;
}

int CapturePump::start() {
    if (state() == PumpState::Lost) return -ENODEV;
    const int status = mRecord.start();
    const Lock lock(mLock);
    if (status != AUDIO_NO_ERROR) {
        lose();
        return -ENODEV;
    }
    mIsStarted = true;
    become(PumpState::Running);
    return 0;
}

int CapturePump::stop() {
    return halt(PumpState::Stopped);
}

int CapturePump::pause() {
    return halt(PumpState::Paused);
}

int CapturePump::resume() {
    return start();
}

// ---- The program's side -------------------------------------------------------------------------

void CapturePump::moveTaken(std::int64_t frames) {
    if (frames == 0) return;
    const Lock lock(mLock);
    const auto distance = static_cast<std::uint64_t>(frames > 0 ? frames : -frames);
    if (frames > 0)
        mTaken += std::min(distance, mCaptured - mTaken);
    else
        mTaken -= std::min({distance, mTaken, std::uint64_t{mSettings.bufferFrames} - available()});
    updateEvent();
}

void CapturePump::peek(unsigned char* data, std::size_t frames) {
    const Lock lock(mLock);
    mSound.get(mTaken, data, std::min(frames, available()));
}

std::uint64_t CapturePump::position() {
    const Lock lock(mLock);
    return mCaptured;
}

std::uint64_t CapturePump::delay() {
    const Lock lock(mLock);
    return available();
}

PumpState CapturePump::state() {
    const Lock lock(mLock);
    return mState;
}

void CapturePump::setWakeFrames(std::size_t frames) {
    const Lock lock(mLock);
    mWakeFrames = std::clamp<std::size_t>(frames, 1, mSettings.bufferFrames);
    updateEvent();
}

void CapturePump::setBreaksWhenFull(bool breaks) {
    const Lock lock(mLock);
    mBreaksWhenFull = breaks;
}

bool CapturePump::checkReady() {
    const Lock lock(mLock);
    updateEvent();
    return isReady();
}

// ---- The I/O thread -----------------------------------------------------------------------------

void CapturePump::turn() {
    const Lock lock(mLock);
    if (mIsLeaving) return;
    moveLocked();
    if (mState == PumpState::Running)
        mChanged.waitFor(mLock, mTurn);
    else if (!mIsLeaving)
        mChanged.wait(mLock);
}

void CapturePump::move() {
    const Lock lock(mLock);
    moveLocked();
}

void CapturePump::leave() {
    const Lock lock(mLock);
    mIsLeaving = true;
    mChanged.notifyAll();
}

bool CapturePump::isLeaving() {
    const Lock lock(mLock);
    return mIsLeaving;
}

void CapturePump::moveLocked() {
    if (mState != PumpState::Running) return;
    while (take() != 0) {
    }
    if (mState == PumpState::Running) noticeFullness();
    if (mState == PumpState::Running) noticeStandstill();
    updateEvent();
}

/// The program does not read behind mCaptured, so the frames may be stored without the lock. A read
/// that finds nothing returns 0; one of a stream that is gone is refused. No read is for more than
/// a period: the uplink turns to its ring once that holds all of a request.
/// @return bytes taken
std::size_t CapturePump::take() {
    const auto piece = mSound.piece(mCaptured, mSettings.bufferFrames - available());
    if (mState != PumpState::Running || piece.empty()) return 0;
    const auto bytes = piece.subspan(mOdd);
    const unsigned run = mRun;
    const unsigned sound = mSoundNumber;
    mLock.unlock();
    int most = static_cast<int>(bytes.size());
    for (const int limit : {mRecord.getPerLoopSize(), mRecord.getTotalBufferSize()})
        if (limit > 0) most = std::min(most, limit);
    const int status = mRecord.read(bytes.data(), most, false);
    mLock.lock();
    if (sound != mSoundNumber) return 0;
    const auto taken = static_cast<std::size_t>(std::max(status, 0));
    mCaptured += (mOdd + taken) / mSettings.frameBytes;
    mOdd = (mOdd + taken) % mSettings.frameBytes;
    if (status < 0 && run == mRun) lose();
    return taken;
}

/// A full buffer loses nothing yet: the ring holds some periods more.
void CapturePump::noticeFullness() {
    if (available() < mSettings.bufferFrames || !mBreaksWhenFull) return;
    const unsigned run = mRun;
    mLock.unlock();
    const int used = mRecord.bytesUsed();
    const int room = mRecord.getTotalBufferSize() - 1 - used;
    const bool isFull = room < mRecord.getPerLoopSize();
    mLock.lock();
    if (isFull && run == mRun) become(PumpState::Broken);
}

/// A server that stands still.
void CapturePump::noticeStandstill() {
    const std::uint64_t now = mClock();
    mWatch.note(mCaptured, now);
    if (available() == mSettings.bufferFrames) mWatch.reset(now);
    if (mWatch.isOverdue(now)) lose();
}

// ---- State --------------------------------------------------------------------------------------

void CapturePump::lose() {
    mIsStarted = false;
    become(PumpState::Lost);
}

void CapturePump::become(PumpState next) {
    mState = next;
    ++mRun;
    mWatch.reset(mClock());
    updateEvent();
    mChanged.notifyAll();
}

void CapturePump::updateEvent() {
    mReady.become(isReady());
}

std::size_t CapturePump::available() const {
    return static_cast<std::size_t>(mCaptured - mTaken);
}

/// A stopped capture has no data, but in these states the program must look.
bool CapturePump::isReady() const {
    switch (mState) {
        case PumpState::Broken:
        case PumpState::Lost:
            return true;
        default:
            return available() >= mWakeFrames;
    }
}

}  // namespace cabinaudio::plugin
