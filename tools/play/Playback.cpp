// SPDX-License-Identifier: Apache-2.0
#include "tools/play/Playback.h"

#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/play/ProgressText.h"
#include "tools/server/ControlLine.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::tool {

using namespace std::chrono_literals;

namespace {

/// A write waits up to a second for the ring and then for space; the rest is margin for load.
constexpr std::chrono::milliseconds LONGEST_WRITE = 3000ms;

/// Amount given to a withdrawn sink at once: the library takes this long to discard it; a
/// non-blocking sink must wait that time itself.
constexpr auto DISCARDED_BLOCKING = 500ms;
constexpr auto DISCARDED_ELSE = 100ms;

constexpr auto PROGRESS_INTERVAL = 100ms;

/// Whether the server is known to take data without a clock. Then an empty ring is no underrun.
bool serverIsFast() {
    try {
        const Json state = Json::parse(askServer("state", 500ms), nullptr, false);
        return state.is_object() && state.value("fast", false);
    } catch (const Failure&) {
        return false;  // the head unit's server takes no commands
    }
}

/// Whether the server notifies the end of playback.
bool isEndNotified(AudioTagType tag) {
    return tag != AUDIO_TAG_ALTERNATIVE;
}

}  // namespace

Playback::Playback(AudioFile& file, const PlayOptions& options, const Interruption& interruption,
                   Watchdog& watchdog, PlayReport& report, ProgressLine& line)
    : mFile(file),
      mOptions(options),
      mControl(interruption, watchdog, options.timeout),
      mReport(report),
      mLine(line),
      mIsSink(options.tag == AUDIO_TAG_MAIN) {}

void Playback::run() {
    Ending ending{StreamEnd::Done, "played to the end"};
    try {
        play();
    } catch (const Ending& early) {
        ending = early;
    } catch (const Failure& failure) {
        ending = {StreamEnd::Failed, failure.what()};
    }
    updateReport();
    if (mReport.ringRanEmpty != 0 && serverIsFast()) mReport.ringRanEmpty = 0;
    mLine.clear();
    mReport.ending = ending;
    tearDown();
}

void Playback::play() {
    create();
    begin();
    feed();
    if (isEndNotified(mOptions.tag))
        waitForFinish();
    else
        waitForEmptyRing();
    endIfCut();
}

/// Not earlier: what there is has been played.
void Playback::endIfCut() {
    const std::optional<Cut> cut = mFile.cut();
    if (!cut) return;
    std::string missing = "its end is missing";
    if (cut->missingFrames) {
        mReport.missingMs =
            1000.0 * static_cast<double>(*cut->missingFrames) / mFile.format().sampleRate;
        missing = secondsText(std::chrono::ceil<std::chrono::milliseconds>(
                      std::chrono::duration<double, std::milli>(*mReport.missingMs))) +
                  " of it missing";
    }
    if (!cut->text.empty()) missing += " (" + cut->text + ")";
    throw Ending{StreamEnd::Cut, "cut short, " + missing};
}

void Playback::create() {
    AudioFormatDesc format = mFile.format();
    const int status = confirm(format);
    if (status != AUDIO_NO_ERROR) mControl.endByCreation(status, mOptions.tag, mReport.name);
    mReport.perLoopBytes = mTrack->getPerLoopSize();
    mControl.endIfInterrupted();
}

/// @return status of the created stream
int Playback::confirm(AudioFormatDesc& format) {
    const auto make = [&]<typename Stream>(std::unique_ptr<Stream> stream) {
        mControl.request("the server to create the stream", [&] {
            stream = std::make_unique<Stream>(mReport.name.c_str(), mOptions.tag, format,
                                              mOptions.streamParam);
        });
        Stream& made = *stream;
        mTrack = std::move(stream);
        return mControl.request("the server to confirm the stream",
                                [&] { return made.initCheck(); });
    };
    return mIsSink ? make(std::unique_ptr<ClientSink>()) : make(std::unique_ptr<ClientTrack>());
}

void Playback::begin() {
    if (isEndNotified(mOptions.tag)) mTrack->setCallback(&mFinish);
    mControl.require(
        mControl.request("the server to start the stream", [&] { return mTrack->start(); }),
        "start the stream");
    mIsStarted = true;
    mStartTime = mLastProgress = Clock::now();
    if (mOptions.keyShift) shiftKey();
}

/// A track carries one request at a time, and a key shift does not wait: it is refused while the
/// ring is being handed over, and an earlier one could delay the ring's request.
void Playback::shiftKey() {
    while (mTrack->getTotalBufferSize() == 0) {
        mControl.rest(StreamControl::SHORTEST_REST);
        mControl.endIfStalled(mStartTime, "the ring");
    }
    const auto shift = [&] { return mTrack->setKeyShift(*mOptions.keyShift); };
    for (;;) {
        const int status = mControl.request("the server to shift the key", shift);
        if (status != AUDIO_NO_MEMORY) return mControl.require(status, "shift the key");
        mControl.rest(StreamControl::SHORTEST_REST);
        mControl.endIfStalled(mStartTime, "the track to be free for a request");
    }
}

void Playback::feed() {
    std::vector<unsigned char> chunk;
    for (;;) {
        if (mIsSink) waitForSource();
        chunk.resize(chunkBytes());
        // Watched: a pipe may have no data for a long time, and the user may interrupt.
        const std::size_t bytes =
            mControl.limit("data of the file", 1h, [&] { return mFile.read(chunk); });
        if (bytes == 0) break;
        feedChunk(Bytes(chunk).first(bytes));
    }
    if (mReport.bytesWritten + mReport.bytesDiscarded == 0)
        throw Failure(mFile.cut() ? "ends before its first sound" : "holds no sound");
}

/// One period of the server, or the amount for a withdrawn source; whole frames.
std::size_t Playback::chunkBytes() const {
    const std::size_t frame = mFile.frameBytes();
    const auto away = mOptions.block ? DISCARDED_BLOCKING : DISCARDED_ELSE;
    const std::size_t bytes =
        mReport.isWithdrawn ? mFile.bytesPerSecond() * static_cast<std::size_t>(away.count()) / 1000
                            : static_cast<std::size_t>(std::max(mReport.perLoopBytes, 0));
    return std::max(bytes - bytes % frame, frame);
}

void Playback::feedChunk(Bytes chunk) {
    if (mReport.bytesWritten != 0 && !mReport.isWithdrawn && queuedBytes() == 0)
        ++mReport.ringRanEmpty;
    noteProgress();
    while (!chunk.empty()) {
        mControl.endIfInterrupted();
        if (mIsSink) updateSourceState();
        const std::size_t taken = mReport.isWithdrawn ? discard(chunk)
                                  : mOptions.block    ? writeWaiting(chunk)
                                                      : writeWithoutWaiting(chunk);
        chunk = chunk.subspan(taken);
        if (taken != 0)
            noteProgress();
        else
            mControl.endIfStalled(mLastProgress,
                                  mReport.ringBytes == 0 ? "the ring" : "free space in the ring");
        showProgress();
    }
}

/// A blocking write that times out does not tell how much it has queued. So only the amount that
/// fits is written at once, and the wait is done with a single frame: either it is queued whole, or
/// exactly the free odd bytes of it are queued.
std::size_t Playback::writeWaiting(Bytes bytes) {
    const std::size_t frame = mFile.frameBytes();
    const auto free = static_cast<std::size_t>(std::max(mTrack->bytesFree(), 0));
    const std::size_t fitting = std::min(free, bytes.size());
    const std::size_t wanted =
        fitting >= frame ? fitting - fitting % frame : std::min(frame, bytes.size());
    const int status = write(bytes.first(wanted));
    if (status == AUDIO_TIMED_OUT) return timedOutWrite(fitting);
    if (status == 0 && mIsSink) return noteDiscarded(wanted);
    return static_cast<std::size_t>(status);
}

std::size_t Playback::writeWithoutWaiting(Bytes bytes) {
    auto free = static_cast<std::size_t>(std::max(mTrack->bytesFree(), 0));
    if (mIsSink) free -= free % mFile.frameBytes();
    if (free == 0 && mTrack->getTotalBufferSize() != 0) {
        if (Clock::now() - mLastProgress >= SUSPICION) endIfRemoved();
        mControl.rest(queuedTime() / 2);
        return 0;
    }
    // Without a ring, even this write waits for one.
    const std::size_t wanted = free == 0 ? bytes.size() : std::min(free, bytes.size());
    const int status = write(bytes.first(wanted));
    if (status == AUDIO_TIMED_OUT) return timedOutWrite(0);
    if (static_cast<std::size_t>(status) < bytes.size()) ++mReport.shortWrites;
    return static_cast<std::size_t>(status);
}

/// @return bytes queued, or AUDIO_TIMED_OUT; any other status ends the playback
int Playback::write(Bytes bytes) {
    // The write is bounded, except when a notification queries the server meanwhile.
    const int status = mControl.limit(
        "the server to hand over the ring",
        std::max(mOptions.timeout + Watchdog::GRACE, LONGEST_WRITE), [&] {
            return mTrack->write(bytes.data(), static_cast<int>(bytes.size()), mOptions.block);
        });
    if (status == AUDIO_INVALID_STATE) mControl.endByRemoval(status);
    if (status < 0 && status != AUDIO_TIMED_OUT) mControl.require(status, "write");
    mReport.ringBytes = mTrack->getTotalBufferSize();
    mReport.bytesWritten += static_cast<std::uint64_t>(std::max(status, 0));
    return status;
}

std::size_t Playback::timedOutWrite(std::size_t taken) {
    ++(mReport.ringBytes == 0 ? mReport.ringTimeouts : mReport.spaceTimeouts);
    mReport.bytesWritten += taken;
    return taken;
}

/// The library discards the data of a withdrawn sink at its own pace, but only in blocking mode. If
/// the source comes back meanwhile, the data is queued.
std::size_t Playback::discard(Bytes bytes) {
    // Pads to a whole frame, because the next ring begins with a whole frame.
    if (const std::size_t odd = bytes.size() % mFile.frameBytes(); odd != 0)
        return noteDiscarded(odd);
    if (!mOptions.block) {
        mControl.rest(duration(bytes.size()));
        return noteDiscarded(bytes.size());
    }
    const int status = write(bytes);
    // A timeout does not tell how much was queued; a retry could queue that part twice.
    if (status <= 0) return noteDiscarded(bytes.size());
    return static_cast<std::size_t>(status);
}

std::size_t Playback::noteDiscarded(std::size_t bytes) {
    mReport.bytesDiscarded += bytes;
    return bytes;
}

/// Before the first source, a write would wait forever.
void Playback::waitForSource() {
    for (updateSourceState(); !mHadSource; updateSourceState()) {
        showProgress();
        mControl.rest(10ms);
        if (Clock::now() - mStartTime >= SUSPICION) endIfRemoved();
        mControl.endIfStalled(mStartTime, "the source");
    }
}

/// A sink has a ring exactly while its source is active.
void Playback::updateSourceState() {
    const bool isActive = mTrack->getTotalBufferSize() != 0;
    if (isActive) mHadSource = true;
    const bool isWithdrawn = mHadSource && !isActive;
    if (isWithdrawn && !mReport.isWithdrawn) ++mReport.withdrawals;
    mReport.isWithdrawn = isWithdrawn;
}

/// A sink without a source is never notified of the end of playback.
void Playback::endWithoutSource() {
    updateSourceState();
    if (mReport.isWithdrawn) throw Ending{StreamEnd::Done, "ended while the source was withdrawn"};
}

void Playback::waitForFinish() {
    const Clock::time_point done = Clock::now();
    const Clock::time_point allowance = done + 2 * queuedTime();
    if (mIsSink) endWithoutSource();
    const int status = mControl.request("the server to take the end of the data",
                                        [&] { return mTrack->writeDone(); });
    if (mIsSink) endWithoutSource();
    mControl.require(status, "announce the end of the data");
    std::size_t queued = queuedBytes();
    noteProgress();
    while (!mFinish.event().isSet()) {
        waitForAny({&mFinish.event(), &mControl.interruption().event()},
                   StreamControl::LONGEST_REST);
        mControl.endIfInterrupted();
        if (const std::size_t now = queuedBytes(); now != std::exchange(queued, now))
            noteProgress();
        showProgress();
        if (mFinish.event().isSet()) break;
        if (mIsSink) endWithoutSource();
        if (Clock::now() - mLastProgress >= SUSPICION) endIfRemoved();
        mControl.endIfStalled(mLastProgress, "the end of playback");
        mControl.endIfStalled(allowance, "the end of playback");
    }
    mReport.finishedAfterMs = milliseconds(Clock::now() - done);
}

/// An alternative track has no finish event: data taken out of the ring counts as played one period
/// later.
void Playback::waitForEmptyRing() {
    std::size_t queued = queuedBytes();
    const Clock::time_point allowance = Clock::now() + 2 * queuedTime();
    noteProgress();
    while (queued != 0) {
        mControl.rest(queuedTime() / 2);
        if (const std::size_t now = queuedBytes(); now != std::exchange(queued, now))
            noteProgress();
        showProgress();
        if (Clock::now() - mLastProgress >= SUSPICION) endIfRemoved();
        mControl.endIfStalled(mLastProgress, "the end of playback");
        mControl.endIfStalled(allowance, "the end of playback");
    }
    mControl.rest(duration(static_cast<std::size_t>(std::max(mReport.perLoopBytes, 0))));
}

void Playback::tearDown() {
    if (mTrack == nullptr) return;
    const StreamEnd end = mReport.ending.kind;
    const bool isGone = end == StreamEnd::Removed || end == StreamEnd::Lost;
    if (mIsStarted && !isGone) stop();
    mControl.limit("the stream to be taken down", mOptions.timeout + 2000ms,
                   [&] { mTrack.reset(); });
}

void Playback::stop() {
    try {
        mControl.endIfUnanswered(
            mControl.request("the server to stop the stream", [&] { return mTrack->stop(); }));
    } catch (const Ending& ending) {
        // Keep an earlier result.
        if (mReport.ending.kind == StreamEnd::Done) mReport.ending = ending;
    }
}

/// During playback nothing reports the loss of the server. Starting a started track sends nothing,
/// and is refused once the stream no longer exists.
void Playback::endIfRemoved() {
    const int status = mControl.request("the stream's state", [&] { return mTrack->start(); });
    if (status == AUDIO_INVALID_STATE) mControl.endByRemoval(status);
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
    if (now - mLastShown < PROGRESS_INTERVAL) return;
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
