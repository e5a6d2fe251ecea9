// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecord.h>

#include "plugins/common/Clock.h"
#include "plugins/common/FrameRing.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/PumpState.h"
#include "plugins/common/ReadyEvent.h"
#include "plugins/common/StuckWatch.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::plugin {

/// Moves captured sound from a stream into a buffer of its own, from which a program takes it that
/// knows nothing of the library.
///
/// Positions count frames since prepare(). The program has taken the sound up to a point that it
/// moves with moveTaken(); the pump has captured it up to position().
///
/// Threads, blocking and statuses are those of PlaybackPump. A program that is too slow breaks the
/// capture (PumpState::Broken): not when the buffer is full, but when the stream's ring is, too,
/// and the server begins to drop sound.
class CapturePump {
public:
    struct Settings {
        unsigned rate = 0;
        std::size_t frameBytes = 0;
        std::size_t bufferFrames = 0;
    };

    /// @param record  created and stopped; outlives the last turn
    /// @param ready   readable while the program can read, or must look at the state
    CapturePump(audio::QVAudioRecord& record, const Settings& settings, ReadyEvent& ready,
                Clock clock = steadyNow);
    CapturePump(const CapturePump&) = delete;
    CapturePump& operator=(const CapturePump&) = delete;

    int prepare() CABINAUDIO_EXCLUDES(mLock);
    int start() CABINAUDIO_EXCLUDES(mLock);
    int stop() CABINAUDIO_EXCLUDES(mLock);
    int pause() CABINAUDIO_EXCLUDES(mLock);
    int resume() CABINAUDIO_EXCLUDES(mLock);

    /// Moves the point up to which the program has taken the sound; backwards, frames can be taken
    /// again as long as they have not been overwritten.
    void moveTaken(std::int64_t frames) CABINAUDIO_EXCLUDES(mLock);
    /// Copies the next frames without taking them; at most as many as there are.
    void peek(unsigned char* data, std::size_t frames) CABINAUDIO_EXCLUDES(mLock);

    [[nodiscard]] std::uint64_t position() CABINAUDIO_EXCLUDES(mLock);
    /// Frames captured and not taken.
    [[nodiscard]] std::uint64_t delay() CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] PumpState state() CABINAUDIO_EXCLUDES(mLock);

    /// Frames from which on the program wants to be woken.
    void setWakeFrames(std::size_t frames) CABINAUDIO_EXCLUDES(mLock);
    /// Whether lost sound is an error of the program, or only lost.
    void setBreaksWhenFull(bool breaks) CABINAUDIO_EXCLUDES(mLock);
    bool checkReady() CABINAUDIO_EXCLUDES(mLock);

    void turn() CABINAUDIO_EXCLUDES(mLock);
    /// Moves data once; for tests.
    void move() CABINAUDIO_EXCLUDES(mLock);
    void leave() CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] bool isLeaving() CABINAUDIO_EXCLUDES(mLock);

private:
    int halt(PumpState next) CABINAUDIO_EXCLUDES(mLock);
    void moveLocked() CABINAUDIO_REQUIRES(mLock);
    std::size_t take() CABINAUDIO_REQUIRES(mLock);
    void noticeFullness() CABINAUDIO_REQUIRES(mLock);
    void noticeStandstill() CABINAUDIO_REQUIRES(mLock);
    void lose() CABINAUDIO_REQUIRES(mLock);
    void become(PumpState next) CABINAUDIO_REQUIRES(mLock);
    void updateEvent() CABINAUDIO_REQUIRES(mLock);

    [[nodiscard]] std::size_t available() const CABINAUDIO_REQUIRES(mLock);
    [[nodiscard]] bool isReady() const CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    audio::QVAudioRecord& mRecord;
    const Settings mSettings;
    const Clock mClock;
    const std::chrono::milliseconds mTurn;

    // Have their own synchronization.
    Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    PumpState mState CABINAUDIO_GUARDED_BY(mLock) = PumpState::Stopped;
    unsigned mRun CABINAUDIO_GUARDED_BY(mLock) = 0;          // number of the latest start or stop
    unsigned mSoundNumber CABINAUDIO_GUARDED_BY(mLock) = 0;  // number of the latest prepare()
    bool mIsStarted CABINAUDIO_GUARDED_BY(mLock) = false;    // the stream
    bool mIsLeaving CABINAUDIO_GUARDED_BY(mLock) = false;
    FrameRing mSound CABINAUDIO_GUARDED_BY(mLock);
    std::uint64_t mCaptured CABINAUDIO_GUARDED_BY(mLock) = 0;
    std::uint64_t mTaken CABINAUDIO_GUARDED_BY(mLock) = 0;
    std::size_t mOdd CABINAUDIO_GUARDED_BY(mLock) = 0;  // bytes of a frame that is not complete
    StuckWatch mWatch CABINAUDIO_GUARDED_BY(mLock);
    bool mBreaksWhenFull CABINAUDIO_GUARDED_BY(mLock) = true;
    std::size_t mWakeFrames CABINAUDIO_GUARDED_BY(mLock) = 1;
    ReadyEvent& mReady CABINAUDIO_GUARDED_BY(mLock);
};

}  // namespace cabinaudio::plugin
