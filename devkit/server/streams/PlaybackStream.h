// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/clients/Client.h"
#include "devkit/server/mix/GainMatrix.h"
#include "devkit/server/mix/PeakWindow.h"
#include "devkit/server/mix/StreamRecord.h"
#include "devkit/server/rings/RingOffer.h"
#include "devkit/server/rings/RingWatcher.h"
#include "devkit/server/rings/StreamRing.h"
#include "devkit/server/sound/RateConverter.h"
#include "devkit/server/sound/StreamFormat.h"
#include "devkit/server/sound/WavFile.h"
#include "wire/Stream.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// A stream that a client plays: its ring, its state, and the way of its samples to the mix.
///
///     IDLE --start--> ACTIVE --stop--> IDLE
///     ACTIVE --writeDone, then the last sample has been played--> ACTIVE, client told "finished"
///
/// Requests return the status for the client. In IDLE nothing is read from the ring: the client may
/// clear it, and data left in it is played after the next start. A sink's ring comes and goes (see
/// SourceRouting.h); without a ring the stream is silent and counts as drained.
class PlaybackStream {
public:
    struct Parts {
        std::shared_ptr<StreamRecord> record;
        std::unique_ptr<StreamRing> ring;
        /// Makes a new ring after a withdrawal; null when memory is lacking.
        std::function<std::unique_ptr<StreamRing>()> makeRing;
        std::unique_ptr<WavFile> stem;  // may be null
        std::uint32_t outputRate;
        unsigned outputChannels;
        /// The next frame of the output.
        std::function<std::uint64_t()> outputFrame;
        /// Called when playback may have become possible or impossible.
        std::function<void()> onChange;
        /// Sees what is read from the ring; may be null.
        RingWatcher* watcher = nullptr;
    };

    PlaybackStream(EventLoop& loop, Client& client, Parts parts);
    PlaybackStream(const PlaybackStream&) = delete;
    PlaybackStream& operator=(const PlaybackStream&) = delete;

    // ---- Requests -------------------------------------------------------------------------------
    std::int32_t start();
    std::int32_t stop();
    std::int32_t writeDone();
    std::int32_t setKeyShift(float key);
    /// Returns a physical ring's address; refused before the announcement.
    std::int32_t getShareMemory(wire::ShareMemoryReply& reply) const;

    /// Announces the physical ring to the client after `delay`, and after the reply to the current
    /// request.
    void offerRing(std::chrono::milliseconds delay);
    /// Repeats the announcement of the physical ring to the client. @return false without a ring
    [[nodiscard]] bool announceRingAgain();
    /// Withdraws the physical ring: the client must unmap it. Data queued in it is lost.
    void withdrawRing();
    /// The client has unmapped its ring.
    void onRingUnmapped();
    /// Notifies the client that the stream is gone.
    void notifyRemoved();

    // ---- Mixing ---------------------------------------------------------------------------------
    /// Takes effect at once before the first sound after a start.
    void setGains(const StreamGains& gains, const RampFrames& ramp) {
        mGains.set(gains, mHasSounded ? ramp : RampFrames());
    }
    /// Whether the gains mute the stream.
    [[nodiscard]] bool isSilenced() const { return mGains.isSilent(); }
    /// Adds the next frames to `mix`, as many as fit. At a steady pace, after an underrun the
    /// stream resumes with a whole period, or with less when no more data has come for a period.
    /// @param mix          whole frames of the output
    /// @param outputFrame  position of the mix in the output
    /// @param isSteady     whether the output continues when the stream does not
    /// @return frames added
    std::size_t addTo(std::span<float> mix, std::uint64_t outputFrame, bool isSteady);
    /// Keeps, from now on, what the stream adds to the mix.
    void keepShare() { mKeepsShare = true; }
    /// What the last call of addTo() has added, in frames of the output.
    [[nodiscard]] std::span<const float> share() const { return mShare; }
    /// The frames added last have been played: notifies the client if they were the end.
    void played();

    // ---- Time that waits for streams ------------------------------------------------------------
    /// A stream that is held back adds nothing, although it may have data.
    void hold(bool isHeld) { mIsHeld = isHeld; }
    /// Frames of the stream that must be queued for `outputFrames` of the output. A rate conversion
    /// looks ahead, so it needs a period more.
    [[nodiscard]] std::size_t neededFrames(std::size_t outputFrames) const;
    [[nodiscard]] std::size_t queuedFrames() const { return mRing ? mRing->usedFrames() : 0; }
    /// Whether the client must write more before `outputFrames` of the output can be mixed.
    [[nodiscard]] bool isBehind(std::size_t outputFrames) const;
    /// Ends a stream of which the client has announced the end, and nothing is left to mix.
    void endIfDone();
    /// The client writes no more for now: plays the rest, and then nothing until resume().
    void runDry();
    void resume() { mTail = Tail::None; }
    /// Whether the rest is being played, or nothing, after runDry().
    [[nodiscard]] bool isDry() const { return mTail != Tail::None; }
    /// Whether the rest has been played.
    [[nodiscard]] bool isDrained() const { return mTail == Tail::Drained; }
    /// Whether a stop now could not be heard: the stream has ended, or its client, which has no way
    /// to announce the end, sees that all was played.
    [[nodiscard]] bool isOver() const {
        return mIsEnded || isDrained() ||
               (mRecord->tag == AUDIO_TAG_ALTERNATIVE && mHasSounded && queuedFrames() == 0);
    }
    /// Whether a sink's source is withdrawn, or a track has no ring.
    [[nodiscard]] bool isWithoutRing() const { return mOffer && mOffer->isAway(); }
    /// Whether the client must still acknowledge that its ring was withdrawn.
    [[nodiscard]] bool isLettingGo() const { return mOffer && mOffer->isWithdrawing(); }
    /// Whether the client can write nothing more before frames are taken: its writer waits, or it
    /// has nothing to write.
    [[nodiscard]] bool isSettled() const;
    /// See StreamRing.
    void wakeWriter();
    /// Disconnects the client when it has damaged its ring.
    void checkRing();
    /// Number of starts so far.
    [[nodiscard]] std::uint32_t starts() const { return mStarts; }

    // ---- Queries --------------------------------------------------------------------------------
    [[nodiscard]] Client& client() const { return mClient; }
    [[nodiscard]] const StreamRecord& record() const { return *mRecord; }
    [[nodiscard]] bool isSink() const { return mRecord->tag == AUDIO_TAG_MAIN; }
    /// Null while the client has none.
    [[nodiscard]] const StreamRing* ring() const { return mRing.get(); }
    /// Null for a POSIX ring, which is never announced.
    [[nodiscard]] const RingOffer* ringOffer() const { return mOffer ? &*mOffer : nullptr; }
    [[nodiscard]] bool isActive() const { return mState == ACTIVE; }
    [[nodiscard]] bool isWriteDone() const { return mIsWriteDone; }
    /// The last sample has been added to the mix.
    [[nodiscard]] bool isEnded() const { return mIsEnded; }
    /// Whether frames were played since the start.
    [[nodiscard]] bool hasSounded() const { return mHasSounded; }
    [[nodiscard]] float keyShift() const { return mKeyShift; }
    /// Highest amplitude of the stream's own samples in the last tenth of a second.
    /// @param outputFrame  present position in the output
    [[nodiscard]] float peak(std::uint64_t outputFrame) const { return mPeak.peak(outputFrame); }
    /// The same after all gains, in the loudest channel of the output.
    [[nodiscard]] float heardPeak(std::uint64_t outputFrame) const {
        return mHeardPeak.peak(outputFrame);
    }

private:
    enum class Flow { Dry, Filling, Flowing };
    enum class Tail { None, Draining, Drained };

    void dropRing();
    [[nodiscard]] bool isCutOff() const { return !mRing || (mOffer && mOffer->isWithdrawing()); }
    bool isReady(std::size_t wantedFrames);
    std::size_t addDue(std::span<float> mix, std::size_t wanted, std::uint64_t outputFrame);
    std::size_t pull(std::size_t frames);
    std::size_t pullDirectly(std::size_t frames);
    std::size_t pullConverted(std::size_t frames);
    [[nodiscard]] std::size_t inputFor(std::size_t outputFrames) const;
    void take(const StreamRing::View& view, std::size_t frames);
    void show(const StreamRing::View& view, std::size_t frames);
    void account(std::uint64_t outputFrame, std::uint64_t streamFrame, std::size_t frames);
    void copyShare(std::size_t frames);
    void beginSound();
    void note(const char* change);
    std::size_t addSilence();
    void measure(std::size_t frames, std::uint64_t outputFrame);

    // Set at construction.
    Client& mClient;
    std::shared_ptr<StreamRecord> mRecord;
    std::unique_ptr<StreamRing> mRing;
    std::function<std::unique_ptr<StreamRing>()> mMakeRing;
    std::unique_ptr<WavFile> mStem;
    std::uint32_t mOutputRate;
    unsigned mOutputChannels;
    GainMatrix mGains;
    PeakWindow mPeak;
    PeakWindow mHeardPeak;
    std::function<std::uint64_t()> mOutputFrame;
    std::function<void()> mOnChange;
    RingWatcher* mWatcher;
    std::optional<RingOffer> mOffer;  // of a physical ring

    std::optional<RateConverter> mConverter;  // null unless the rates differ
    AudioStreamState mState = IDLE;
    bool mIsWriteDone = false;
    bool mIsEnded = false;     // the last sample has been added to the mix
    bool mIsFinished = false;  // the client has been notified of the end
    Flow mFlow = Flow::Dry;
    bool mIsHeld = false;
    bool mTakesPart = false;  // since the start
    Tail mTail = Tail::None;
    std::uint32_t mStarts = 0;
    bool mHasSounded = false;            // since start
    bool mIsContinued = false;           // no data was lost since the last run of frames
    std::uint64_t mSoundStart = 0;       // stream frame that was the first after start
    std::uint64_t mConvertedFrames = 0;  // output frames since then
    float mKeyShift = 1.0F;
    std::vector<float> mInput;  // one piece of the ring, decoded
    bool mKeepsShare = false;
    std::vector<float> mShare;   // of the mix; empty unless kept
    std::vector<float> mPeaks;   // of each channel in the last piece of the mix
    std::vector<float> mPulled;  // at the output's rate, in the stream's channels
};

}  // namespace cabinaudio::server
