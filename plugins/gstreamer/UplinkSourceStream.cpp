// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/UplinkSourceStream.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/common/Clock.h"
#include "plugins/common/Streams.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::gstreamer {

namespace {

constexpr std::size_t OPUS_HEADER = 8;
constexpr std::size_t LEAST_BUFFER = 456;  // bytes; the library asks for it

std::size_t positive(int bytes) {
    return static_cast<std::size_t>(std::max(bytes, 0));
}

}  // namespace

int UplinkSourceStream::open(const std::string& name, const AudioFormatDesc& format,
                             std::shared_ptr<UplinkSourceStream>& stream) {
    auto streamName = std::make_unique<plugin::StreamName>("gst", name);
    plugin::StreamRequest request;
    request.name = streamName->text();
    request.tag = AUDIO_TAG_UPLINK;
    request.format = format;
    std::unique_ptr<audio::QVAudioRecord> record;
    if (const int error = plugin::openStream(request, record); error != 0) return error;
    stream.reset(new UplinkSourceStream(std::move(streamName), std::move(record), request));
    return 0;
}

/// A record of this tag is a ClientRecordRt.
UplinkSourceStream::UplinkSourceStream(std::unique_ptr<plugin::StreamName> name,
                                       std::unique_ptr<audio::QVAudioRecord> record,
                                       const plugin::StreamRequest& request)
    : mName(std::move(name)),
      mRecord(static_cast<ClientRecordRt*>(record.release())),
      mCodec(static_cast<UplinkCodec>(request.format.codecType)),
      mFrameBytes(std::max<std::size_t>(request.frameBytes(), 1)) {}

std::span<const unsigned char> UplinkSourceStream::frame() const {
    const std::span<const unsigned char> whole(mBuffer.data(), mFilled);
    return mCodec == UplinkCodec::Opus ? whole.subspan(OPUS_HEADER) : whole;
}

// ---- Reading ------------------------------------------------------------------------------------

UplinkSourceStream::Outcome UplinkSourceStream::read() {
    {
        const plugin::Lock lock(mLock);
        mIsReading = true;
    }
    const Outcome outcome = waitForFrame();
    {
        const plugin::Lock lock(mLock);
        mIsReading = false;
        if (!std::exchange(mMustStop, false)) return outcome;
    }
    stopRecord();
    return outcome;
}

UplinkSourceStream::Outcome UplinkSourceStream::waitForFrame() {
    mFilled = 0;
    while (true) {
        {
            const plugin::Lock lock(mLock);
            if (mIsInterrupted) return Outcome::Interrupted;
        }
        const Look found = start() ? look() : Look::Lost;
        if (found == Look::Frame) return Outcome::Read;
        if (found == Look::Lost || isStuck()) return Outcome::Lost;
        const plugin::Lock lock(mLock);
        if (!mIsInterrupted) mChanged.waitFor(mLock, TURN);
    }
}

bool UplinkSourceStream::start() {
    if (mIsStarted) return true;
    mRecord->clear();
    mWatch.reset(plugin::steadyNow());
    mIsStarted = mRecord->start() == AUDIO_NO_ERROR;
    mIsFresh = true;
    return mIsStarted;
}

UplinkSourceStream::Look UplinkSourceStream::look() {
    makeRoom();
    return mCodec == UplinkCodec::Pcm ? lookForPeriod() : lookForFrame();
}

/// The ring, and with it the longest frame, comes and goes.
void UplinkSourceStream::makeRoom() {
    const std::size_t most = mCodec == UplinkCodec::Pcm ? positive(mRecord->getPerLoopSize())
                                                        : positive(mRecord->getTotalBufferSize());
    if (const std::size_t least = std::max(most, LEAST_BUFFER); mBuffer.size() < least)
        mBuffer.resize(least);
}

/// A packet shorter than its header has no sound.
UplinkSourceStream::Look UplinkSourceStream::lookForFrame() {
    const int status = mRecord->readFrame(mBuffer.data(), static_cast<int>(mBuffer.size()), false);
    if (status < 0) return judge(status);
    mFilled = static_cast<std::size_t>(status);
    if (mFilled > 0) ++mFrames;
    return mFilled > (mCodec == UplinkCodec::Opus ? OPUS_HEADER : 0) ? Look::Frame : Look::Nothing;
}

/// A period may come in pieces that end within a frame of samples.
UplinkSourceStream::Look UplinkSourceStream::lookForPeriod() {
    const std::size_t period = std::max(positive(mRecord->getPerLoopSize()), mFrameBytes);
    const std::size_t wanted = period / mFrameBytes * mFrameBytes;
    const int status =
        mRecord->read(mBuffer.data() + mFilled, static_cast<int>(wanted - mFilled), false);
    if (status < 0) return judge(status);
    mFilled += static_cast<std::size_t>(status);
    if (status > 0) ++mFrames;
    return mFilled == wanted ? Look::Frame : Look::Nothing;
}

/// A ring that has been mapped since the last look holds longer frames than the buffer; a header
/// that cannot be is dropped by the library. A refusal is the end only when start() fails, too.
UplinkSourceStream::Look UplinkSourceStream::judge(int status) {
    if (status == AUDIO_NO_MEMORY || status == AUDIO_BAD_VALUE) return Look::Nothing;
    return mRecord->start() == AUDIO_NO_ERROR ? Look::Nothing : Look::Lost;
}

/// A server that stands still. Without a ring AAC has nothing to say.
bool UplinkSourceStream::isStuck() {
    const std::uint64_t now = plugin::steadyNow();
    mWatch.note(mFrames, now);
    if (mCodec == UplinkCodec::Aac && mRecord->getTotalBufferSize() == 0) mWatch.reset(now);
    return mWatch.isOverdue(now);
}

// ---- Control ------------------------------------------------------------------------------------

void UplinkSourceStream::interrupt() {
    const plugin::Lock lock(mLock);
    mIsInterrupted = true;
    mChanged.notifyAll();
}

void UplinkSourceStream::allow() {
    const plugin::Lock lock(mLock);
    mIsInterrupted = false;
}

void UplinkSourceStream::stop() {
    {
        const plugin::Lock lock(mLock);
        mMustStop = mIsReading;
        if (mMustStop) return;
    }
    stopRecord();
}

void UplinkSourceStream::stopRecord() {
    if (mIsStarted.exchange(false)) mRecord->stop();
}

}  // namespace cabinaudio::gstreamer
