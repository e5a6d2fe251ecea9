// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/SinkStream.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace cabinaudio::gstreamer {

namespace {

using plugin::Lock;
using plugin::PlaybackPump;
using plugin::PumpState;

constexpr std::uint64_t SECOND_US = 1'000'000;
/// Sound that is to begin less than this beside the end of the sound before continues it. Ears and
/// eyes notice more only, and times are rounded.
constexpr GstClockTime TOLERANCE = 20 * GST_MSECOND;

std::size_t periodOf(audio::QVAudioTrack& track, const PlaybackPump::Settings& settings) {
    const int bytes = track.getPerLoopSize();
    return bytes > 0
               ? static_cast<std::size_t>(bytes) / settings.frameBytes
               : static_cast<std::size_t>(plugin::USUAL_PERIOD_US * settings.rate / SECOND_US);
}

}  // namespace

SinkStream::SinkStream(std::unique_ptr<audio::QVAudioTrack> track,
                       const PlaybackPump::Settings& settings, GstClockTime begin,
                       SinkListener& listener)
    : mProcess(getpid()),
      mSettings(settings),
      mPeriod(std::max<std::size_t>(periodOf(*track, settings), 1)),
      mListener(listener),
      mClock(settings.rate, mPeriod * SECOND_US / settings.rate),
      mBegin(begin),
      mPump(*track, settings, mReady),
      mTrack(std::move(track)),
      mThread(*this) {
    // A gap is silence; the sink's clock runs on.
    mPump.setBreaksWhenDry(false);
}

bool SinkStream::isOurs() const {
    return getpid() == mProcess;
}

// ---- Control ------------------------------------------------------------------------------------

bool SinkStream::run() {
    if (!isOurs()) return false;
    const Lock control(mControl);
    return runLocked();
}

bool SinkStream::runLocked() {
    switch (mPump.state()) {
        case PumpState::Stopped:
        case PumpState::Paused:
            return (mIsEnding ? mPump.beginDrain() : mPump.start()) == 0;
        case PumpState::Lost:
            return false;
        default:
            return true;
    }
}

void SinkStream::pause() {
    if (!isOurs()) return;
    const Lock control(mControl);
    const PumpState state = mPump.state();
    if (state == PumpState::Running || state == PumpState::Draining) mPump.pause();
}

void SinkStream::stop() {
    if (!isOurs()) return;
    const Lock control(mControl);
    mPump.stop();
}

void SinkStream::clear() {
    if (!isOurs()) return;
    const Lock control(mControl);
    clearLocked();
}

void SinkStream::clearLocked() {
    mIsEnding = false;
    {
        const Lock lock(mLock);
        mBegin += lengthOf(played());
        mClock.restart();
    }
    mPump.prepare();
}

void SinkStream::end() {
    if (!isOurs()) return;
    const Lock control(mControl);
    mIsEnding = true;
    if (mPump.state() == PumpState::Running) mPump.beginDrain();
}

bool SinkStream::waitForEnd() {
    if (!isOurs()) return false;
    mPump.waitForDrain([] { return false; });
    return mPump.state() == PumpState::Drained;
}

bool SinkStream::isLost() {
    return !isOurs() || mPump.state() == PumpState::Lost;
}

// ---- Sound --------------------------------------------------------------------------------------

std::int64_t SinkStream::place(std::uint64_t sample) {
    if (!isOurs()) return 0;
    const Lock control(mControl);
    if (mIsEnding) {  // another sound after the end of one
        clearLocked();
        runLocked();
    }
    const Lock lock(mLock);
    const std::uint64_t end = mPump.course().end;
    const std::uint64_t heard = played();
    if (heard > end) {
        mClock.forget(heard - end);
        mBegin += lengthOf(heard - end);
    }
    const std::int64_t next = framesIn(mBegin) + static_cast<std::int64_t>(end);
    const std::int64_t distance = static_cast<std::int64_t>(sample) - next;
    return std::abs(distance) <= framesIn(TOLERANCE) ? 0 : distance;
}

std::size_t SinkStream::put(const unsigned char* data, std::size_t frames) {
    const std::size_t room = mPump.waitForRoom(std::min(frames, mPeriod));
    const std::size_t count = std::min(room, frames);
    if (count > 0) mPump.append(data, count);
    return count;
}

void SinkStream::shift(GstClockTimeDiff distance) {
    const Lock lock(mLock);
    mBegin = static_cast<GstClockTime>(
        std::max<GstClockTimeDiff>(static_cast<GstClockTimeDiff>(mBegin) + distance, 0));
}

// ---- Time ---------------------------------------------------------------------------------------

GstClockTime SinkStream::time() {
    const Lock lock(mLock);
    return mBegin + lengthOf(played());
}

std::uint64_t SinkStream::played() {
    return mClock.frames(mPump.course(), plugin::steadyNow());
}

GstClockTime SinkStream::lengthOf(std::uint64_t frames) const {
    return gst_util_uint64_scale(frames, GST_SECOND, mSettings.rate);
}

std::int64_t SinkStream::framesIn(GstClockTime time) const {
    return static_cast<std::int64_t>(gst_util_uint64_scale(time, mSettings.rate, GST_SECOND));
}

// ---- The I/O thread -----------------------------------------------------------------------------

void SinkStream::turn() {
    mPump.turn();
    if (mPump.isLeaving()) return;
    static_cast<void>(time());  // the clock needs each step
    if (mSettings.isSink) {
        const bool hasSource = mTrack->getTotalBufferSize() != 0;
        if (mHadSource && hasSource == mIsWithdrawn) {
            mIsWithdrawn = !hasSource;
            mListener.onSource(hasSource);
        }
        mHadSource = mHadSource || hasSource;
    }
    if (mIsLossKnown || mPump.state() != PumpState::Lost) return;
    mIsLossKnown = true;
    mListener.onLoss();
}

}  // namespace cabinaudio::gstreamer
