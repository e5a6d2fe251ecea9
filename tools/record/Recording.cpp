// SPDX-License-Identifier: Apache-2.0
#include "tools/record/Recording.h"

#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/record/OpusPacket.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace cabinaudio::tool {

using namespace std::chrono_literals;

namespace {

/// A read waits up to a second for each piece of data; the rest is margin for load.
constexpr std::chrono::milliseconds LONGEST_READ = 3000ms;

constexpr auto METER_INTERVAL = 100ms;

/// Holds every frame, also while the ring's size is unknown.
constexpr std::size_t LARGEST_FRAME = std::size_t{1} << 20;

constexpr std::size_t MSBC_FRAME = 57;
constexpr double MSBC_FRAME_MS = 7.5;

}  // namespace

Recording::Recording(const RecordOptions& options, const Interruption& interruption,
                     Watchdog& watchdog, RecordReport& report, TargetHolder& target,
                     ProgressLine& line)
    : mOptions(options),
      mControl(interruption, watchdog, options.timeout),
      mReport(report),
      mTarget(target),
      mLine(line) {}

void Recording::run() {
    Ending ending{StreamEnd::Done, "recorded"};
    try {
        record();
    } catch (const Ending& early) {
        ending = userEnd(early);
    } catch (const Failure& failure) {
        ending = {StreamEnd::Failed, failure.what()};
    }
    updateReport();
    mLine.clear();
    try {
        storeSkipped();
        mTarget.close();
    } catch (const Failure& failure) {
        if (ending.kind == StreamEnd::Done) ending = {StreamEnd::Failed, failure.what()};
    }
    mReport.ending = ending;
    tearDown();
}

void Recording::record() {
    create();
    openFile();
    begin();
    if (isCoded())
        captureFrames();
    else
        capturePcm();
}

void Recording::create() {
    AudioFormatDesc format = mOptions.format.description();
    mControl.request("the server to create the stream", [&] {
        const char* const name = mReport.name.c_str();
        if (isUplink()) {
            auto uplink = std::make_unique<ClientRecordRt>(name, mOptions.tag, format);
            mUplink = uplink.get();
            mRecord = std::move(uplink);
        } else {
            mRecord =
                std::make_unique<ClientRecord>(name, mOptions.tag, format, mOptions.streamParam);
        }
    });
    const int status =
        mControl.request("the server to confirm the stream", [&] { return mRecord->initCheck(); });
    if (status != AUDIO_NO_ERROR) mControl.endByCreation(status, mOptions.tag, mReport.name);
    mReport.perLoopBytes = mRecord->getPerLoopSize();
    mControl.endIfInterrupted();
}

/// Not earlier: without a server, an existing recording must not be overwritten.
void Recording::openFile() {
    // Opening a pipe blocks until its other end is opened.
    mControl.limit("the file to open", 1h,
                   [&] { mTarget.set(openTarget(mOptions.file, mOptions.format, mOptions.raw)); });
}

void Recording::begin() {
    if (mOptions.volume)
        mControl.require(mControl.request("the server to set the volume",
                                          [&] { return mRecord->setVolume(*mOptions.volume); }),
                         "set the volume");
    mControl.require(
        mControl.request("the server to start the stream", [&] { return mRecord->start(); }),
        "start the stream");
    mIsStarted = true;
    mStartTime = mLastProgress = Clock::now();
}

void Recording::capturePcm() {
    const RecordFormat& format = mOptions.format;
    const std::size_t frame = format.frameBytes();
    const auto period = static_cast<std::size_t>(std::max(mReport.perLoopBytes, 0));
    mBuffer.resize(std::max(period - period % frame, frame));
    const auto all =
        mReport.wantedMs
            ? static_cast<std::uint64_t>(std::llround(*mReport.wantedMs * format.rate / 1000.0)) *
                  frame
            : UINT64_MAX;
    std::size_t odd = 0;  // bytes of an incomplete frame, at the beginning of the buffer
    while (mReport.bytesRecorded < all) {
        // The library's silence covers one channel's worth of samples and leaves the rest of the
        // buffer unchanged.
        if (isUplink()) std::fill(&mBuffer[odd], mBuffer.data() + mBuffer.size(), std::uint8_t{0});
        const auto room = std::min<std::uint64_t>(mBuffer.size(), all - mReport.bytesRecorded);
        const int got = read(odd, static_cast<std::size_t>(room) - odd);
        const std::size_t there = odd + static_cast<std::size_t>(std::max(got, 0));
        odd = there % frame;
        store(Bytes(mBuffer).first(there - odd));
        std::memmove(mBuffer.data(), mBuffer.data() + there - odd, odd);
        waitForMore(got);
    }
}

void Recording::captureFrames() {
    while (!isComplete()) {
        const auto ring = static_cast<std::size_t>(std::max(mRecord->getTotalBufferSize(), 0));
        mBuffer.resize(std::max(ring, LARGEST_FRAME));
        const int got = read(0, isMsbc() ? MSBC_FRAME : mBuffer.size());
        if (got > 0) storeFrame(Bytes(mBuffer).first(static_cast<std::size_t>(got)));
        if (mOptions.format.codec == RecordCodec::Aac) updateReport();
        if (mIsSilent) {
            mLastProgress = Clock::now();  // silence is not a fault
            if (isMsbc()) pace();
        }
        waitForMore(got);
    }
}

/// @param bytes  wanted; of frames that the library takes whole, the room for one
/// @return bytes in the buffer at `offset`; every failure ends the recording
int Recording::read(std::size_t offset, std::size_t bytes) {
    mControl.endIfInterrupted();
    const bool hasRing = mRecord->getTotalBufferSize() != 0;
    const int status =
        mControl.limit("data", std::max(mOptions.timeout + Watchdog::GRACE, LONGEST_READ), [&] {
            unsigned char* const to = mBuffer.data() + offset;
            const auto count = static_cast<int>(bytes);
            // The library plays mSBC's silence too slowly as whole frames.
            const bool isWhole = isCoded() && !isMsbc();
            return isWhole ? mUplink->readFrame(to, count, mOptions.block)
                           : mRecord->read(to, count, mOptions.block);
        });
    mIsSilent = isUplink() && !hasRing;
    mReport.ringBytes = mRecord->getTotalBufferSize();
    if (status == AUDIO_INVALID_STATE) return handleMissingData(status);
    if (status == AUDIO_BAD_VALUE && isMsbc())
        throw Ending{StreamEnd::Refused,
                     "the library does not deliver live mSBC data; record the call with another "
                     "--codec",
                     status};
    if (status < 0) mControl.require(status, "read");
    return status;
}

/// One status has two causes: the stream is gone, or live data was missing for a second.
int Recording::handleMissingData(int status) {
    mControl.endIfInterrupted();
    if (mControl.request("the stream's state", [&] { return mRecord->start(); }) != AUDIO_NO_ERROR)
        mControl.endByRemoval(status);
    ++mReport.readTimeouts;
    return 0;
}

void Recording::waitForMore(int got) {
    showMeter();
    const bool isDue = got == 0 && !mIsSilent;
    if (got > 0) mLastProgress = Clock::now();
    if (isDue && mOptions.block && !isUplink()) ++mReport.readTimeouts;
    if (Clock::now() - mLastProgress >= SUSPICION) endIfRemoved();
    if (isDue) mControl.endIfStalled(mLastProgress, "data");
    if (got == 0) mControl.rest(8ms);
}

void Recording::store(Bytes bytes) {
    if (bytes.empty()) return;
    mControl.limit("the file to take the data", 1h, [&] { mTarget.write(bytes); });
    if (const Level level = mTarget.takeLevel()) {
        mReport.peak = std::max(mReport.peak.value_or(0), *level);
        mMeterLevel = std::max(mMeterLevel.value_or(0), *level);
    }
    mReport.bytesRecorded += bytes.size();
    if (isCoded()) return;
    const double duration = mOptions.format.milliseconds(bytes.size());
    mReport.recordedMs += duration;
    if (mIsSilent) mReport.silentMs += duration;
}

void Recording::storeFrame(Bytes frame) {
    if (mOptions.format.codec != RecordCodec::Opus) {
        // The library delivers nothing but silence for mSBC.
        mIsSilent = mIsSilent || isMsbc();
        return storeFrame(frame, isMsbc() ? MSBC_FRAME_MS : 0);
    }
    const double duration = 1000.0 * opusSamples(opusPayload(frame)) / OPUS_CLOCK;
    // The ring may have come during the read, so its absence before the read says nothing.
    mIsSilent = isOpusSilence(frame);
    if (!mIsSilent) mHasBegun = true;
    if (mHasBegun) return storeFrame(frame, duration);
    mReport.skippedMs += duration;
    mSkippedFrame.assign(frame.begin(), frame.end());
    if (mReport.wantedMs && mReport.skippedMs >= *mReport.wantedMs) storeSkipped();
}

void Recording::storeFrame(Bytes frame, double duration) {
    store(frame);
    ++mReport.frames;
    mReport.recordedMs += duration;
    if (mIsSilent) mReport.silentMs += duration;
}

/// The uplink has delivered nothing: its silence is the recording.
void Recording::storeSkipped() {
    if (mHasBegun || mSkippedFrame.empty()) return;
    mHasBegun = mIsSilent = true;
    const double duration = 1000.0 * opusSamples(opusPayload(mSkippedFrame)) / OPUS_CLOCK;
    for (auto frames = std::lround(mReport.skippedMs / duration); frames > 0; --frames)
        storeFrame(mSkippedFrame, duration);
    mReport.skippedMs = 0;
}

/// The library returns silent mSBC frames without delay, so the recorder must keep the pace itself.
void Recording::pace() const {
    const auto recorded = std::chrono::duration<double, std::milli>(mReport.recordedMs);
    const auto due =
        mStartTime + std::chrono::duration_cast<Clock::duration>(recorded) - Clock::now();
    if (due > StreamControl::SHORTEST_REST) mControl.rest(due);
}

void Recording::tearDown() {
    if (mRecord == nullptr) return;
    const StreamEnd end = mReport.ending.kind;
    if (mIsStarted && end != StreamEnd::Removed && end != StreamEnd::Lost) stop();
    mControl.limit("the stream to be taken down", mOptions.timeout + 2000ms,
                   [&] { mRecord.reset(); });
}

void Recording::stop() {
    try {
        mControl.endIfUnanswered(
            mControl.request("the server to stop the stream", [&] { return mRecord->stop(); }));
    } catch (const Ending& ending) {
        // Keep an earlier result.
        if (mReport.ending.kind == StreamEnd::Done) mReport.ending = ending;
    }
}

/// While data is missing nothing reports the loss of the server. Starting a started stream sends
/// nothing, and is refused once the stream no longer exists.
void Recording::endIfRemoved() {
    const int status = mControl.request("the stream's state", [&] { return mRecord->start(); });
    if (status == AUDIO_INVALID_STATE) mControl.endByRemoval(status);
}

/// The user ends a recording without a time limit; that is its normal end.
Ending Recording::userEnd(const Ending& ending) const {
    if (ending.kind != StreamEnd::Interrupted || mReport.wantedMs || !mIsStarted) return ending;
    return {StreamEnd::Done, "recorded until " + mControl.interruption().signalName()};
}

bool Recording::isComplete() const {
    return mReport.wantedMs && mReport.recordedMs >= *mReport.wantedMs;
}

/// An AAC stream has no silent frames; the clock gives the recorded duration.
void Recording::updateReport() {
    if (!mIsStarted) return;
    mReport.elapsedMs = milliseconds(Clock::now() - mStartTime);
    if (mOptions.format.codec != RecordCodec::Aac) return;
    if (mIsSilent) mReport.silentMs += mReport.elapsedMs - mReport.recordedMs;
    mReport.recordedMs = mReport.elapsedMs;
}

void Recording::showMeter() {
    const Clock::time_point now = Clock::now();
    if (now - mLastShown < METER_INTERVAL) return;
    mLastShown = now;
    const Level level = std::exchange(mMeterLevel, std::nullopt);
    if (!mLine.isShown()) return;
    mLine.show(meterText(mReport, level, ProgressLine::width()), levelColour(level));
}

}  // namespace cabinaudio::tool
