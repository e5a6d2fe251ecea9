// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include "plugins/common/Clock.h"
#include "plugins/common/FrameRing.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/PumpState.h"
#include "plugins/common/ReadyEvent.h"
#include "plugins/common/Streams.h"
#include "plugins/common/StuckWatch.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace cabinaudio::plugin {

/// Moves the sound of a program that knows nothing of the library from a buffer of its own into a
/// playback stream, and keeps count of the frames that the server has taken.
///
/// Positions count frames since prepare(). The sound ends at end(); it has been handed to the
/// stream up to a point that only the pump knows, and was played up to position().
///
/// Threads    An I/O thread calls turn() again and again until leave() was called. Any other thread
///            may call the rest, except that prepare(), start(), stop(), pause() and resume()
///            exclude each other.
/// Blocking   The five wait for the server's reply, as long as the link policy allows; drain()
///            waits for the end of the sound; the rest does not wait.
/// Statuses   0 or a negative error number: -ENODEV when the stream is lost.
class PlaybackPump : private audio::QVAudioTrackCallback {
public:
    /// A stream and the program's wishes.
    struct Settings {
        unsigned rate = 0;
        std::size_t frameBytes = 0;
        unsigned char silence = 0;
        std::size_t bufferFrames = 0;
        /// The stream reports the end of playback.
        bool reportsFinish = false;
        /// The stream may lose its ring and get a new one; sound of the time between is discarded
        /// at the pace of the clock.
        bool isSink = false;

        [[nodiscard]] static Settings of(const StreamRequest& request, std::size_t bufferFrames);
    };

    /// Progress at one moment.
    struct Course {
        PumpState state = PumpState::Stopped;
        std::uint64_t position = 0;
        std::uint64_t end = 0;
        std::uint64_t time = 0;  // us, when the position was noticed; meaningless while dry
        bool isDry = false;      // nothing is left to be taken
    };

    /// @param track  created and stopped; outlives the last turn, and ends before the pump
    /// @param ready  readable while the program can write, or must look at the state
    PlaybackPump(audio::QVAudioTrack& track, const Settings& settings, ReadyEvent& ready,
                 Clock clock = steadyNow);
    ~PlaybackPump() override = default;
    PlaybackPump(const PlaybackPump&) = delete;
    PlaybackPump& operator=(const PlaybackPump&) = delete;

    /// Stops and discards everything; all positions are 0 afterwards.
    int prepare() CABINAUDIO_EXCLUDES(mLock);
    int start() CABINAUDIO_EXCLUDES(mLock);
    /// Stops at once; prepare() must follow. Ends a drain().
    int stop() CABINAUDIO_EXCLUDES(mLock);
    /// Stops for a while: no frame is lost or repeated.
    int pause() CABINAUDIO_EXCLUDES(mLock);
    int resume() CABINAUDIO_EXCLUDES(mLock);

    /// Lets the rest of the sound be played. Starts if necessary; returns at once.
    int beginDrain() CABINAUDIO_EXCLUDES(mLock);
    /// Waits until the drain has ended.
    /// @param isInterrupted  asked every 20 ms
    /// @return 0; -EINTR; -EIO when the sound did not end in time
    int waitForDrain(const std::function<bool()>& isInterrupted) CABINAUDIO_EXCLUDES(mLock);

    /// Moves the end of the sound: forwards over silence, or backwards. Frames that the stream has
    /// already stay as they are.
    void moveEnd(std::int64_t frames) CABINAUDIO_EXCLUDES(mLock);
    /// Appends at the end; at most as many frames as the buffer has room for.
    void append(const unsigned char* data, std::size_t frames) CABINAUDIO_EXCLUDES(mLock);

    [[nodiscard]] std::uint64_t position() CABINAUDIO_EXCLUDES(mLock);
    /// Frames between the position and the end, estimated between two periods of the server.
    [[nodiscard]] std::uint64_t delay() CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] PumpState state() CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] Course course() CABINAUDIO_EXCLUDES(mLock);
    /// Waits until the buffer has room for so many frames, or the stream does not move.
    /// @return the room
    [[nodiscard]] std::size_t waitForRoom(std::size_t frames) CABINAUDIO_EXCLUDES(mLock);

    /// Room in the buffer from which on the program wants to be woken, in frames.
    void setWakeRoom(std::size_t frames) CABINAUDIO_EXCLUDES(mLock);
    /// Whether an empty stream is an error of the program or only silence.
    void setBreaksWhenDry(bool breaks) CABINAUDIO_EXCLUDES(mLock);
    /// Whether the program can write, or must look at the state. Makes the event agree.
    bool checkReady() CABINAUDIO_EXCLUDES(mLock);

    /// Moves data once and then waits for the next time.
    void turn() CABINAUDIO_EXCLUDES(mLock);
    /// Moves data once; for tests.
    void move() CABINAUDIO_EXCLUDES(mLock);
    /// Ends the current turn.
    void leave() CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] bool isLeaving() CABINAUDIO_EXCLUDES(mLock);

private:
    void finish(bool isAborted) override;

    int halt(PumpState next) CABINAUDIO_EXCLUDES(mLock);
    int go(PumpState next) CABINAUDIO_EXCLUDES(mLock);
    void moveLocked() CABINAUDIO_REQUIRES(mLock);
    void look() CABINAUDIO_REQUIRES(mLock);
    void discardByClock(std::uint64_t now) CABINAUDIO_REQUIRES(mLock);
    void ask() CABINAUDIO_REQUIRES(mLock);
    int startAgain(unsigned run) CABINAUDIO_EXCLUDES(mLock);
    void feed() CABINAUDIO_REQUIRES(mLock);
    std::size_t feedOnce(std::size_t room) CABINAUDIO_REQUIRES(mLock);
    void stepDrain() CABINAUDIO_REQUIRES(mLock);
    void announceEnd() CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] bool isPlayedOut() CABINAUDIO_REQUIRES(mLock);
    void noticeDryness() CABINAUDIO_REQUIRES(mLock);
    void lose() CABINAUDIO_REQUIRES(mLock);
    void become(PumpState next) CABINAUDIO_REQUIRES(mLock);
    void updateEvent() CABINAUDIO_REQUIRES(mLock);

    [[nodiscard]] bool isMoving() const CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] bool isReady() const CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] std::uint64_t pending() const CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] std::uint64_t queued() const CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] std::size_t room() const CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] std::uint64_t framesIn(std::uint64_t us) const;
    [[nodiscard]] std::uint64_t lengthOf(std::uint64_t frames) const;  // us

    // Set at construction.
    audio::QVAudioTrack& mTrack;
    const Settings mSettings;
    const Clock mClock;
    const std::chrono::milliseconds mTurn;
    const std::uint64_t mPeriod;  // us

    // Have their own synchronization.
    Mutex mRequest;  // taken before mLock: a stop, or a question that may start the stream
    Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    PumpState mState CABINAUDIO_GUARDED_BY(mLock) = PumpState::Stopped;
    unsigned mRun CABINAUDIO_GUARDED_BY(mLock) = 0;        // number of the latest start or stop
    bool mIsStarted CABINAUDIO_GUARDED_BY(mLock) = false;  // the stream
    bool mIsLeaving CABINAUDIO_GUARDED_BY(mLock) = false;
    FrameRing mSound CABINAUDIO_GUARDED_BY(mLock);
    std::uint64_t mEnd CABINAUDIO_GUARDED_BY(mLock) = 0;
    std::uint64_t mSent CABINAUDIO_GUARDED_BY(mLock) = 0;       // handed to the stream
    std::uint64_t mClaimed CABINAUDIO_GUARDED_BY(mLock) = 0;    // being handed over
    unsigned mSoundNumber CABINAUDIO_GUARDED_BY(mLock) = 0;     // number of the latest prepare()
    std::uint64_t mPlayed CABINAUDIO_GUARDED_BY(mLock) = 0;     // taken by the server
    std::size_t mInRing CABINAUDIO_GUARDED_BY(mLock) = 0;       // frames, at the last look
    bool mHasRing CABINAUDIO_GUARDED_BY(mLock) = false;         // at the last look
    bool mHadRing CABINAUDIO_GUARDED_BY(mLock) = false;         // at some look
    std::uint64_t mStartTime CABINAUDIO_GUARDED_BY(mLock) = 0;  // us
    StuckWatch mWatch CABINAUDIO_GUARDED_BY(mLock);
    std::uint64_t mPaced CABINAUDIO_GUARDED_BY(mLock) = 0;  // us, time up to which it was discarded
    std::uint64_t mDrySince CABINAUDIO_GUARDED_BY(mLock) = 0;  // us; 0 when not dry
    bool mBreaksWhenDry CABINAUDIO_GUARDED_BY(mLock) = true;
    bool mIsEndAnnounced CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsFinished CABINAUDIO_GUARDED_BY(mLock) = false;  // the server has reported the end
    bool mIsEndOverdue CABINAUDIO_GUARDED_BY(mLock) = false;
    std::uint64_t mEndDeadline CABINAUDIO_GUARDED_BY(mLock) = 0;  // us
    std::size_t mWakeRoom CABINAUDIO_GUARDED_BY(mLock) = 1;
    ReadyEvent& mReady CABINAUDIO_GUARDED_BY(mLock);
};

}  // namespace cabinaudio::plugin
