// SPDX-License-Identifier: Apache-2.0
#include "tools/play/Playback.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/Names.h"
#include "tools/ServerSocket.h"
#include "tools/play/ProgressText.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::tool {

using namespace std::chrono_literals;

namespace {

/// How long data may stand still before it is asked whether the stream still exists.
constexpr auto kSuspicion = 500ms;

/// The shortest and the longest sleep between two looks at a ring that nobody waits on.
constexpr std::chrono::nanoseconds kShortestRest = 1ms;
constexpr std::chrono::nanoseconds kLongestRest = 100ms;

/// A write waits up to a second for the ring and then for space; with room for a busy machine.
constexpr std::chrono::milliseconds kLongestWrite = 3000ms;

constexpr auto kProgressInterval = 100ms;

double milliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

bool isAuxiliary(AudioTagType tag) {
    return tag != AUDIO_TAG_ALTERNATIVE;
}

}  // namespace

struct Playback::End {
    PlayEnd how;
    std::string text;
    std::int32_t status = AUDIO_NO_ERROR;
    std::string waitedFor = {};
};

Playback::Playback(AudioFile& file, const PlayOptions& options, const Interruption& interruption,
                   Watchdog& watchdog, PlayReport& report, ProgressLine& line)
    : mFile(file),
      mOptions(options),
      mInterruption(interruption),
      mWatchdog(watchdog),
      mReport(report),
      mLine(line) {}

void Playback::run() {
    End end{PlayEnd::Played, "played to the end"};
    try {
        play();
    } catch (const End& early) {
        end = early;
    } catch (const Failure& failure) {
        end = {PlayEnd::Failed, failure.what()};
    }
    updateReport();
    mLine.clear();
    mReport.end = end.how;
    mReport.text = end.text;
    mReport.status = end.status;
    mReport.waitedFor = end.waitedFor;
    takeDown();
}

void Playback::play() {
    create();
    begin();
    feed();
    if (isAuxiliary(mOptions.tag))
        awaitFinish();
    else
        awaitEmptyRing();
}

void Playback::create() {
    AudioFormatDesc format = mFile.format();
    mWatchdog.limit("the server to create the stream", mOptions.timeout, [&] {
        mTrack = std::make_unique<ClientTrack>(mReport.name.c_str(), mOptions.tag, format,
                                               mOptions.streamParam);
    });
    const int status = mWatchdog.limit("the server to confirm the stream", mOptions.timeout,
                                       [&] { return mTrack->initCheck(); });
    if (status != AUDIO_NO_ERROR) endByCreation(status);
    mReport.perLoopBytes = mTrack->getPerLoopSize();
    endIfInterrupted();
}

// A track that could not be created has one status for all reasons.
void Playback::endByCreation(int status) const {
    if (!serverListens()) throw End{PlayEnd::NoServer, noServerText(), status};
    throw End{PlayEnd::Refused,
              "the server has not accepted the stream: " + statusText(status) +
                  "; see its log, -v, or 'cabinaudio doctor'",
              status};
}

void Playback::begin() {
    if (isAuxiliary(mOptions.tag)) mTrack->setCallback(&mFinish);
    demand(mWatchdog.limit("the server to start the stream", mOptions.timeout,
                           [&] { return mTrack->start(); }),
           "start the stream");
    mIsStarted = true;
    mStartTime = mLastProgress = Clock::now();
    if (mOptions.keyShift) shiftKey();
}

// A track carries one request at a time, and a key shift does not wait for its turn: while the ring
// is being handed over it is refused, and before that it could take the ring's turn away.
void Playback::shiftKey() {
    while (mTrack->getTotalBufferSize() == 0) {
        rest(kShortestRest);
        endIfStalled(mStartTime, "the ring");
    }
    const auto shift = [&] { return mTrack->setKeyShift(*mOptions.keyShift); };
    for (;;) {
        const int status = mWatchdog.limit("the server to shift the key", mOptions.timeout, shift);
        if (status != AUDIO_NO_MEMORY) return demand(status, "shift the key");
        rest(kShortestRest);
        endIfStalled(mStartTime, "the track to be free for a request");
    }
}

void Playback::feed() {
    const auto period = static_cast<std::size_t>(std::max(mReport.perLoopBytes, 0));
    const std::size_t frame = mFile.frameBytes();
    std::vector<unsigned char> chunk(std::max(period - period % frame, frame));
    for (;;) {
        // A pipe may have no data for a long time, and the user may lose patience.
        const std::size_t bytes =
            mWatchdog.limit("data of the file", 1h, [&] { return mFile.read(chunk); });
        if (bytes == 0) break;
        feedChunk(Bytes(chunk).first(bytes));
    }
    if (mReport.bytesWritten == 0) throw Failure("holds no sound");
}

void Playback::feedChunk(Bytes chunk) {
    if (mReport.bytesWritten != 0 && queuedBytes() == 0) ++mReport.ringRanEmpty;
    noteProgress();
    while (!chunk.empty()) {
        endIfInterrupted();
        const std::size_t taken = mOptions.block ? writeWaiting(chunk) : writeWithoutWaiting(chunk);
        chunk = chunk.subspan(taken);
        mReport.bytesWritten += taken;
        if (taken != 0)
            noteProgress();
        else
            endIfStalled(mLastProgress,
                         mReport.ringBytes == 0 ? "the ring" : "free space in the ring");
        showProgress();
    }
}

// A blocking write that times out does not tell how much it has queued before. Hence only what fits
// is written at once, and the waiting is done with one frame: that one either goes in as a whole or
// ends with exactly the odd bytes queued that were free before.
std::size_t Playback::writeWaiting(Bytes bytes) {
    const std::size_t frame = mFile.frameBytes();
    const auto free = static_cast<std::size_t>(std::max(mTrack->bytesFree(), 0));
    const std::size_t fitting = std::min(free, bytes.size());
    const std::size_t wanted = fitting >= frame ? fitting : std::min(frame, bytes.size());
    const int status = write(bytes.first(wanted));
    if (status == AUDIO_TIMED_OUT) return timedOutWrite(fitting);
    return static_cast<std::size_t>(status);
}

std::size_t Playback::writeWithoutWaiting(Bytes bytes) {
    const auto free = static_cast<std::size_t>(std::max(mTrack->bytesFree(), 0));
    if (free == 0 && mTrack->getTotalBufferSize() != 0) {
        if (Clock::now() - mLastProgress >= kSuspicion) endIfRemoved();
        rest(queuedTime() / 2);
        return 0;
    }
    // Without a ring even this write waits for one.
    const std::size_t wanted = free == 0 ? bytes.size() : std::min(free, bytes.size());
    const int status = write(bytes.first(wanted));
    if (status == AUDIO_TIMED_OUT) return timedOutWrite(0);
    if (static_cast<std::size_t>(status) < bytes.size()) ++mReport.shortWrites;
    return static_cast<std::size_t>(status);
}

/// @return bytes queued, or AUDIO_TIMED_OUT; every other status ends the playback
int Playback::write(Bytes bytes) {
    // Bounded by itself, but for a notification that asks the server meanwhile.
    const int status = mWatchdog.limit(
        "the server to hand over the ring", std::max(mOptions.timeout, kLongestWrite), [&] {
            return mTrack->write(bytes.data(), static_cast<int>(bytes.size()), mOptions.block);
        });
    if (status == AUDIO_INVALID_STATE) endByRemoval(status);
    if (status < 0 && status != AUDIO_TIMED_OUT) demand(status, "write");
    mReport.ringBytes = mTrack->getTotalBufferSize();
    return status;
}

std::size_t Playback::timedOutWrite(std::size_t taken) {
    ++(mReport.ringBytes == 0 ? mReport.ringTimeouts : mReport.spaceTimeouts);
    return taken;
}

void Playback::awaitFinish() {
    const Clock::time_point done = Clock::now();
    const Clock::time_point allowance = done + 2 * queuedTime();
    demand(mWatchdog.limit("the server to take the end of the data", mOptions.timeout,
                           [&] { return mTrack->writeDone(); }),
           "announce the end of the data");
    std::size_t queued = queuedBytes();
    noteProgress();
    while (!mFinish.event().isSet()) {
        waitForAny({&mFinish.event(), &mInterruption.event()}, kLongestRest);
        endIfInterrupted();
        if (const std::size_t now = queuedBytes(); now != std::exchange(queued, now))
            noteProgress();
        showProgress();
        if (mFinish.event().isSet()) break;
        if (Clock::now() - mLastProgress >= kSuspicion) endIfRemoved();
        endIfStalled(mLastProgress, "the end of playback");
        endIfStalled(allowance, "the end of playback");
    }
    mReport.finishedAfterMs = milliseconds(Clock::now() - done);
}

// An alternative track has no finish event: what was taken out of the ring counts as played, one
// period later.
void Playback::awaitEmptyRing() {
    std::size_t queued = queuedBytes();
    const Clock::time_point allowance = Clock::now() + 2 * queuedTime();
    noteProgress();
    while (queued != 0) {
        rest(queuedTime() / 2);
        if (const std::size_t now = queuedBytes(); now != std::exchange(queued, now))
            noteProgress();
        showProgress();
        if (Clock::now() - mLastProgress >= kSuspicion) endIfRemoved();
        endIfStalled(mLastProgress, "the end of playback");
        endIfStalled(allowance, "the end of playback");
    }
    rest(duration(static_cast<std::size_t>(std::max(mReport.perLoopBytes, 0))));
}

void Playback::takeDown() {
    if (mTrack == nullptr) return;
    if (mIsStarted && mReport.end != PlayEnd::Removed)
        mWatchdog.limit("the server to stop the stream", mOptions.timeout,
                        [&] { return mTrack->stop(); });
    mWatchdog.limit("the stream to be taken down", mOptions.timeout + 2000ms,
                    [&] { mTrack.reset(); });
}

void Playback::rest(std::chrono::nanoseconds bound) const {
    waitForAny({&mInterruption.event()},
               std::clamp<std::chrono::nanoseconds>(bound, kShortestRest, kLongestRest));
    endIfInterrupted();
}

void Playback::endIfInterrupted() const {
    if (mInterruption.hasHappened())
        throw End{PlayEnd::Interrupted, "interrupted by " + mInterruption.signalName()};
}

// While data is played nothing tells that the server is gone. Starting a started track sends
// nothing; it is refused once the stream does not exist any more.
void Playback::endIfRemoved() {
    const int status =
        mWatchdog.limit("the stream's state", mOptions.timeout, [&] { return mTrack->start(); });
    if (status == AUDIO_INVALID_STATE) endByRemoval(status);
}

void Playback::endByRemoval(int status) const {
    throw End{PlayEnd::Removed,
              serverListens() ? "the server has removed the stream" : "the server is gone", status};
}

void Playback::endIfStalled(Clock::time_point since, const char* what) const {
    if (Clock::now() - since < mOptions.timeout) return;
    throw End{PlayEnd::TimedOut,
              "timed out after " + secondsText(mOptions.timeout) + " waiting for " + what,
              AUDIO_TIMED_OUT, what};
}

void Playback::demand(int status, const std::string& operation) const {
    if (status == AUDIO_NO_ERROR) return;
    throw End{PlayEnd::Refused, "cannot " + operation + ": " + statusText(status), status};
}

void Playback::noteProgress() {
    mLastProgress = Clock::now();
}

void Playback::updateReport() {
    if (mTrack == nullptr || !mIsStarted) return;
    mReport.ringBytes = mTrack->getTotalBufferSize();
    mReport.writtenMs = 1000 * mFile.seconds(mReport.bytesWritten);
    mReport.queuedMs = milliseconds(queuedTime());
    mReport.elapsedMs = milliseconds(Clock::now() - mStartTime);
}

void Playback::showProgress() {
    updateReport();
    if (!mLine.isShown()) return;
    const Clock::time_point now = Clock::now();
    if (now - mLastShown < kProgressInterval) return;
    mLastShown = now;
    mLine.show(progressText(mReport, ProgressLine::width()));
}

std::size_t Playback::queuedBytes() {
    const int total = mTrack->getTotalBufferSize();
    // One byte of a ring always stays free.
    const int queued = total - 1 - mTrack->bytesFree();
    return total > 0 ? static_cast<std::size_t>(std::max(queued, 0)) : 0;
}

std::chrono::nanoseconds Playback::queuedTime() {
    return duration(queuedBytes());
}

std::chrono::nanoseconds Playback::duration(std::size_t bytes) const {
    return std::chrono::nanoseconds(static_cast<std::int64_t>(1e9 * mFile.seconds(bytes)));
}

}  // namespace cabinaudio::tool
