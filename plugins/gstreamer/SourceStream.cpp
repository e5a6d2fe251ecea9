// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/SourceStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace cabinaudio::gstreamer {

namespace {

using namespace plugin;

constexpr std::uint64_t US_PER_SECOND = 1'000'000;

/// The segments are the buffer; the pump only needs room for a late thread.
constexpr std::size_t PUMP_PERIODS = 2;

std::size_t usualPeriodFrames(unsigned rate) {
    return static_cast<std::size_t>(rate * USUAL_PERIOD_US / US_PER_SECOND);
}

CapturePump::Settings pumpSettings(const StreamRequest& request) {
    CapturePump::Settings settings;
    settings.rate = request.format.sampleRate;
    settings.frameBytes = request.frameBytes();
    settings.bufferFrames = PUMP_PERIODS * usualPeriodFrames(settings.rate);
    return settings;
}

}  // namespace

int SourceStream::open(const std::string& name, StreamRequest request,
                       std::shared_ptr<SourceStream>& stream) {
    auto streamName = std::make_unique<StreamName>("gst", name);
    request.name = streamName->text();
    std::unique_ptr<audio::QVAudioRecord> record;
    if (const int error = openStream(request, record); error != 0) return error;
    stream.reset(new SourceStream(std::move(streamName), std::move(record), request));
    return 0;
}

SourceStream::SourceStream(std::unique_ptr<StreamName> name,
                           std::unique_ptr<audio::QVAudioRecord> record,
                           const StreamRequest& request)
    : mName(std::move(name)),
      mRecord(std::move(record)),
      mFrameBytes(request.frameBytes()),
      mSilence(request.silence()),
      mSettings(pumpSettings(request)),
      mPump(*mRecord, mSettings, mReady) {
    // Segments are overwritten when the pipeline is late; nothing else may stop the stream.
    mPump.setBreaksWhenFull(false);
}

std::size_t SourceStream::periodBytes() const {
    const auto period = static_cast<std::size_t>(std::max(mRecord->getPerLoopSize(), 0));
    const std::size_t frames = period / mFrameBytes;
    return mFrameBytes * (frames != 0 ? frames : usualPeriodFrames(mSettings.rate));
}

// ---- Reading ------------------------------------------------------------------------------------

SourceStream::Outcome SourceStream::read(unsigned char* data, std::size_t bytes) {
    const Lock lock(mLock);
    mIsReading = true;
    const Outcome outcome = fill(data, bytes / mFrameBytes);
    mIsReading = false;
    if (mIsPaused && !mIsClosed) stopRecord();
    return outcome;
}

SourceStream::Outcome SourceStream::fill(unsigned char* data, std::size_t frames) {
    const unsigned stops = mStops;
    std::size_t done = 0;
    const auto silenceRest = [&](Outcome outcome) {
        std::memset(data + done * mFrameBytes, mSilence, (frames - done) * mFrameBytes);
        return outcome;
    };
    while (done < frames) {
        if (mIsClosed || mStops != stops) return silenceRest(Outcome::Ended);
        if (mIsLossKnown) {
            mChanged.wait(mLock);
            continue;
        }
        startIfNeeded();
        const std::size_t taken = take(data + done * mFrameBytes, frames - done);
        done += taken;
        if (taken != 0) continue;
        if (mPump.state() == PumpState::Lost) {
            mIsLossKnown = true;
            return silenceRest(Outcome::Lost);
        }
        if (mStops == stops && !mIsClosed)
            mChanged.waitFor(mLock, turnFor(mSettings.bufferFrames, mSettings.rate));
    }
    return Outcome::Read;
}

/// The pump must not be entered with the lock: it may wait for the server.
std::size_t SourceStream::take(unsigned char* data, std::size_t frames) {
    mLock.unlock();
    mPump.move();
    const std::size_t taken = std::min(frames, delay());
    mPump.peek(data, taken);
    mPump.moveTaken(static_cast<std::int64_t>(taken));
    mLock.lock();
    return taken;
}

void SourceStream::startIfNeeded() {
    if (mIsStarted) return;
    mIsStarted = true;
    const unsigned stops = mStops;
    mLock.unlock();
    if (mPump.prepare() == 0) mPump.start();
    mLock.lock();
    if (mStops != stops) stopRecord();  // its stop() came before the start
}

void SourceStream::stopRecord() {
    mIsStarted = false;
    mLock.unlock();
    mPump.stop();
    mLock.lock();
}

// ---- Control ------------------------------------------------------------------------------------

void SourceStream::pause() {
    const Lock lock(mLock);
    mIsPaused = true;
    if (!mIsReading) stopRecord();
}

void SourceStream::resume() {
    const Lock lock(mLock);
    mIsPaused = false;
}

void SourceStream::stop() {
    const Lock lock(mLock);
    ++mStops;
    mChanged.notifyAll();
    if (!mIsClosed) stopRecord();
}

void SourceStream::close() {
    const Lock lock(mLock);
    mIsClosed = true;
    mChanged.notifyAll();
}

}  // namespace cabinaudio::gstreamer
