// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/streams/PlaybackStream.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Period.h"
#include "devkit/server/mix/Peaks.h"
#include "devkit/server/rings/MemoryFault.h"
#include "devkit/server/sound/SampleCodec.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::server {
namespace {

constexpr std::size_t CONVERTED_PIECE_FRAMES = 1024;

constexpr RingOffer::Notification PLAYBACK_RING_READY = {
    static_cast<std::uint32_t>(wire::TrackEvent::RingReady), 0};
static_assert(PLAYBACK_RING_READY.event ==
              static_cast<std::uint32_t>(wire::SinkEvent::SourceActivated));
constexpr RingOffer::Notification PLAYBACK_RING_GONE = {
    static_cast<std::uint32_t>(wire::SinkEvent::SourceDeactivated), 0};

}  // namespace

PlaybackStream::PlaybackStream(EventLoop& loop, Client& client, Parts parts)
    : mClient(client),
      mRecord(std::move(parts.record)),
      mRing(std::move(parts.ring)),
      mMakeRing(std::move(parts.makeRing)),
      mStem(std::move(parts.stem)),
      mOutputRate(parts.outputRate),
      mOutputChannels(parts.outputChannels),
      mGains(mRecord->format.channels, parts.outputChannels),
      mPeak(parts.outputRate),
      mHeardPeak(parts.outputRate),
      mOutputFrame(std::move(parts.outputFrame)),
      mOnChange(std::move(parts.onChange)),
      mWatcher(parts.watcher) {
    const StreamFormat& format = mRecord->format;
    if (format.rate != mOutputRate) mConverter.emplace(format.channels, format.rate, mOutputRate);
    mInput.resize(CONVERTED_PIECE_FRAMES * format.channels);
    if (!mRing->isPhysical()) return;
    const auto make = [this] {
        if (!mRing) mRing = mMakeRing();
        return mRing != nullptr;
    };
    mOffer.emplace(loop, mClient, PLAYBACK_RING_READY, PLAYBACK_RING_GONE,
                   RingOffer::Owner{make, [this] { dropRing(); }});
}

std::int32_t PlaybackStream::start() {
    if (mState == ACTIVE) return AUDIO_NO_ERROR;
    mState = ACTIVE;
    ++mStarts;
    mIsWriteDone = mIsEnded = mIsFinished = false;
    mFlow = Flow::Dry;
    mTail = Tail::None;
    mTakesPart = false;
    mHasSounded = false;
    beginSound();
    mOnChange();
    return AUDIO_NO_ERROR;
}

std::int32_t PlaybackStream::stop() {
    if (mState == IDLE) return AUDIO_NO_ERROR;
    mState = IDLE;
    mIsWriteDone = false;
    // When the stream is over, the stop comes at any frame.
    if (!isOver())
        note("stop");
    else if (!mIsEnded && !isDrained())
        note("end");
    mOnChange();
    return AUDIO_NO_ERROR;
}

std::int32_t PlaybackStream::writeDone() {
    if (mState != ACTIVE || mIsWriteDone) return AUDIO_INVALID_STATE;
    mIsWriteDone = true;
    mOnChange();
    return AUDIO_NO_ERROR;
}

std::int32_t PlaybackStream::setKeyShift(float key) {
    if (!(key >= 0.8F && key <= 1.2F)) return AUDIO_BAD_VALUE;  // also rejects NaN
    mKeyShift = key;
    return AUDIO_NO_ERROR;
}

std::int32_t PlaybackStream::getShareMemory(wire::ShareMemoryReply& reply) const {
    if (!mOffer || !mOffer->canBeShown()) return AUDIO_INVALID_STATE;
    reply.address = mRing->address();
    reply.size = mRing->size();
    return AUDIO_NO_ERROR;
}

void PlaybackStream::offerRing(std::chrono::milliseconds delay) {
    if (isSink() && mOffer->isAway()) note("activated");
    mOffer->offer(delay);
}

bool PlaybackStream::announceRingAgain() {
    return mOffer && mOffer->announceAgain();
}

void PlaybackStream::withdrawRing() {
    note("withdrawn");
    mOffer->withdraw();
    mOnChange();
}

void PlaybackStream::onRingUnmapped() {
    mOffer->onRingUnmapped();
    mOnChange();
}

/// Called after the client has stopped using the ring, so the count of queued data is final.
void PlaybackStream::dropRing() {
    mRecord->discardedFrames += mRing->usedFrames();
    mRing.reset();
    mHasSounded = false;  // the following gap is no underrun
    beginSound();
}

/// At the next frame of the output.
void PlaybackStream::note(const char* change) {
    mRecord->addChange(mOutputFrame(), change);
}

void PlaybackStream::notifyRemoved() {
    note("removed");
    mClient.notify(static_cast<std::uint32_t>(wire::TrackEvent::Removed), 0);
}

std::size_t PlaybackStream::addTo(std::span<float> mix, std::uint64_t outputFrame, bool isSteady) {
    mShare.clear();
    if (!isActive() || mIsEnded || mIsHeld || isDrained()) return 0;
    if (!std::exchange(mTakesPart, true)) mRecord->addChange(outputFrame, "start");
    if (!mRecord->startedAtFrame) mRecord->startedAtFrame = outputFrame;
    if (isCutOff()) return addSilence();
    memory_fault::take();  // discard faults caused by other streams
    const std::size_t wanted = mix.size() / mOutputChannels;
    const bool isDue = !isSteady || isReady(wanted);
    const std::size_t frames = isDue ? addDue(mix, wanted, outputFrame) : 0;
    if (mIsEnded) mRecord->addChange(outputFrame + frames, "end");
    if (mTail == Tail::Draining && mRing->usedFrames() == 0) {
        mTail = Tail::Drained;
        mRecord->addChange(outputFrame + frames, "end");
    }
    checkRing();
    return frames;
}

void PlaybackStream::checkRing() {
    if (!mRing) return;
    const std::string damage = mRing->damage();
    if (memory_fault::take())
        mClient.fail("cut off its ring's memory");
    else if (!damage.empty())
        mClient.fail(damage);
}

std::size_t PlaybackStream::neededFrames(std::size_t outputFrames) const {
    if (!mConverter) return outputFrames;
    return inputFor(outputFrames) + framesOfPeriod(mRecord->format.rate);
}

bool PlaybackStream::isBehind(std::size_t outputFrames) const {
    if (!isActive() || mIsEnded || mIsWriteDone || isWithoutRing()) return false;
    return queuedFrames() < neededFrames(outputFrames);
}

void PlaybackStream::endIfDone() {
    if (!isActive() || mIsEnded || !mIsWriteDone || mIsHeld) return;
    if (!isCutOff() && (mConverter || mRing->usedFrames() > 0)) return;
    mIsEnded = true;
    note("end");
    played();
}

void PlaybackStream::runDry() {
    mTail = queuedFrames() > 0 ? Tail::Draining : Tail::Drained;
    if (isDrained()) note("end");
}

bool PlaybackStream::isSettled() const {
    if (!isActive() || mIsEnded || mIsWriteDone || isDry() || isWithoutRing()) return true;
    const std::size_t period =
        framesOfPeriod(mRecord->format.rate) * std::size_t{mRecord->format.frameBytes()};
    return mRing && mRing->isWriterWaiting() && mRing->freeBytes() < period;
}

void PlaybackStream::wakeWriter() {
    if (mRing && !isCutOff()) mRing->wakeWriter();
}

/// The client was told to discard its remaining data, so the stream has nothing to wait for.
std::size_t PlaybackStream::addSilence() {
    mFlow = Flow::Dry;
    mIsEnded = mIsWriteDone;
    if (mIsEnded) note("end");
    return 0;
}

std::size_t PlaybackStream::addDue(std::span<float> mix, std::size_t wanted,
                                   std::uint64_t outputFrame) {
    const StreamFormat& format = mRecord->format;
    const std::uint64_t streamFrame =
        mConverter ? mSoundStart + mConvertedFrames * format.rate / mOutputRate : mRecord->frames;
    const std::size_t frames = pull(wanted);
    if (mKeepsShare) copyShare(frames);
    mGains.add(mPulled.data(), frames, mix.data());
    measure(frames, outputFrame);
    account(outputFrame, streamFrame, frames);
    if (frames < wanted) mFlow = Flow::Dry;
    return frames;
}

/// With a copy of the gains, whose ramps move on. The mix itself must not depend on listeners: sums
/// of floats in another order differ in the last bit.
void PlaybackStream::copyShare(std::size_t frames) {
    mShare.assign(frames * mOutputChannels, 0.0F);
    GainMatrix gains = mGains;
    gains.add(mPulled.data(), frames, mShare.data());
}

void PlaybackStream::measure(std::size_t frames, std::uint64_t outputFrame) {
    mPeaks.assign(mRecord->format.channels, 0.0F);
    raisePeaks(std::span(mPulled).first(frames * mRecord->format.channels), mPeaks);
    mPeak.add(outputFrame, *std::max_element(mPeaks.begin(), mPeaks.end()));
    mHeardPeak.add(outputFrame, mGains.peakOf(mPulled.data(), frames, mPeaks));
}

/// A client that is slightly late fills a period by the next tick; playing a partial period at once
/// would interrupt the sound twice.
bool PlaybackStream::isReady(std::size_t wantedFrames) {
    if (mFlow == Flow::Flowing) return true;
    const std::size_t used = mRing->usedFrames();
    const std::uint64_t period = std::uint64_t{wantedFrames} * mRecord->format.rate / mOutputRate;
    if (mIsWriteDone || used >= period || (used > 0 && mFlow == Flow::Filling)) {
        mFlow = Flow::Flowing;
        if (mHasSounded && used > 0) ++mRecord->underruns;
        return true;
    }
    mFlow = used > 0 ? Flow::Filling : Flow::Dry;
    return false;
}

std::size_t PlaybackStream::pull(std::size_t frames) {
    mPulled.resize(frames * mRecord->format.channels);
    return mConverter ? pullConverted(frames) : pullDirectly(frames);
}

std::size_t PlaybackStream::pullDirectly(std::size_t frames) {
    const StreamFormat& format = mRecord->format;
    std::size_t done = 0;
    StreamRing::View view = mRing->readable();
    while (done < frames && view.frames > 0) {
        const std::size_t count = std::min(view.frames, frames - done);
        decodeSamples(format.bytesPerSample, view.data,
                      std::span(mPulled).subspan(done * format.channels, count * format.channels));
        take(view, count);
        done += count;
        view = mRing->readable();
    }
    mIsEnded = mIsWriteDone && view.frames == 0;
    return done;
}

/// The converter takes all input offered and keeps what it cannot use yet. So its held output is
/// taken first, then it gets only the input that the rest of the output needs, and the ring drains
/// evenly.
std::size_t PlaybackStream::pullConverted(std::size_t frames) {
    const unsigned channels = mRecord->format.channels;
    std::size_t done = 0;
    StreamRing::View view = mRing->readable();
    while (done < frames) {
        const std::size_t held = mConverter->takeOut(&mPulled[done * channels], frames - done);
        done += held;
        if (done == frames || (held == 0 && view.frames == 0)) break;
        const std::size_t count =
            std::min({view.frames, CONVERTED_PIECE_FRAMES, inputFor(frames - done)});
        decodeSamples(mRecord->format.bytesPerSample, view.data,
                      std::span(mInput).first(count * channels));
        const auto progress =
            mConverter->convert(mInput.data(), count, &mPulled[done * channels], frames - done);
        if (held + progress.taken + progress.written == 0) break;  // would loop forever
        take(view, progress.taken);
        done += progress.written;
        view = mRing->readable();
    }
    if (done < frames && view.frames == 0 && mIsWriteDone) {
        done += mConverter->flush(&mPulled[done * channels], frames - done);
        mIsEnded = done < frames;
    }
    mConvertedFrames += done;
    return done;
}

/// Input frames needed for `outputFrames` output frames, rounded up.
std::size_t PlaybackStream::inputFor(std::size_t outputFrames) const {
    const std::uint64_t scaled = std::uint64_t{outputFrames} * mRecord->format.rate;
    return static_cast<std::size_t>((scaled + mOutputRate - 1) / mOutputRate);
}

void PlaybackStream::take(const StreamRing::View& view, std::size_t frames) {
    if (mWatcher != nullptr && mWatcher->isWatching()) show(view, frames);
    if (mStem) mStem->write({view.data, frames * mRecord->format.frameBytes()});
    mRing->consume(view, frames);
    mRecord->frames += frames;
}

/// Before the frames are freed.
void PlaybackStream::show(const StreamRing::View& view, std::size_t frames) {
    const std::size_t frameBytes = mRecord->format.frameBytes();
    RingTraffic traffic;
    traffic.event = trace::RingEvent::Read;
    traffic.bytes = {view.data, frames * frameBytes};
    traffic.begin = mRecord->frames * frameBytes;
    traffic.streamMs = 1000 * (mRecord->frames + frames) / mRecord->format.rate;
    traffic.notifiesClient = mRing->notifiesWriter();
    // The client may have changed the header since the frames were read.
    const std::size_t used = mRing->usedFrames();
    traffic.fill = static_cast<std::uint32_t>((used - std::min(used, frames)) * frameBytes);
    traffic.size = mRing->size();
    mWatcher->moved(mClient, traffic);
}

void PlaybackStream::account(std::uint64_t outputFrame, std::uint64_t streamFrame,
                             std::size_t frames) {
    if (frames == 0) return;
    mRecord->addRun(outputFrame, streamFrame, frames, mIsContinued);
    mIsContinued = true;
    mHasSounded = true;
}

void PlaybackStream::played() {
    if (!mIsEnded || mIsFinished) return;
    mIsFinished = true;
    ++mRecord->finishes;
    mClient.notify(isSink() ? static_cast<std::uint32_t>(wire::SinkEvent::Finished)
                            : static_cast<std::uint32_t>(wire::TrackEvent::Finished),
                   0);
}

/// Resets the filter, so that a sound does not begin with the tail of the previous one.
void PlaybackStream::beginSound() {
    if (mConverter) mConverter->reset();
    mSoundStart = mRecord->frames;
    mConvertedFrames = 0;
    mIsContinued = false;
}

}  // namespace cabinaudio::server
