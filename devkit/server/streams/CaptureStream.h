// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/clients/Client.h"
#include "devkit/server/codecs/FrameEncoder.h"
#include "devkit/server/inputs/InputSource.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/mix/PeakWindow.h"
#include "devkit/server/rings/CaptureRing.h"
#include "devkit/server/rings/RingOffer.h"
#include "devkit/server/rings/RingWatcher.h"
#include "devkit/server/sound/StreamFormat.h"
#include "wire/Stream.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// A stream that a client records: the path of an input's samples to its ring.
///
///     input -> gain, volume -> encoder -> ring
///
/// Every start rewinds the input. The input pauses while the client has no ring (uplink only, where
/// the ring comes and goes). Data that does not fit the ring is lost in whole frames of the codec,
/// or whole periods of linear PCM, and counted.
class CaptureStream {
public:
    static constexpr std::int32_t FULL_VOLUME = 100;

    struct Parts {
        std::uint32_t tag;
        StreamFormat format;
        Codec codec;
        std::int32_t pid;
        std::string input;  // as on the command line
        std::unique_ptr<CaptureRing> ring;
        /// Makes a new ring after the old one was withdrawn; null when memory is lacking.
        std::function<std::unique_ptr<CaptureRing>()> makeRing;
        /// Both throw std::exception with the reason when they fail.
        std::function<std::unique_ptr<InputSource>()> openInput;
        std::function<std::unique_ptr<FrameEncoder>()> makeEncoder;
        /// Factor for a channel, read every period; null means 1.
        std::function<float(std::size_t channel)> gain;
        /// From a start to the announcement of an uplink's ring; empty: no announcement.
        std::optional<std::chrono::milliseconds> ringDelay;
        /// Whether an uplink's ring is full of the input's sound when it is announced.
        bool isRingFilledFirst = false;
        /// Called when recording may have become possible or impossible.
        std::function<void()> onChange;
        /// Sees what is written into the ring; may be null.
        RingWatcher* watcher = nullptr;
    };

    struct Counters {
        std::uint64_t frames = 0;          // taken from the input
        std::uint64_t bytes = 0;           // put into the ring
        std::uint64_t packets = 0;         // in the ring: codec frames, or periods of linear PCM
        std::uint64_t overruns = 0;        // packets that did not fit
        std::uint64_t discardedBytes = 0;  // left in withdrawn rings
    };

    CaptureStream(EventLoop& loop, Client& client, Parts parts);
    CaptureStream(const CaptureStream&) = delete;
    CaptureStream& operator=(const CaptureStream&) = delete;

    // ---- Requests -------------------------------------------------------------------------------
    std::int32_t start();
    std::int32_t stop();
    std::int32_t setVolume(std::int32_t volume);
    /// Returns a physical ring's address; refused before the announcement.
    std::int32_t getShareMemory(wire::ShareMemoryReply& reply);
    /// The client has unmapped its ring.
    std::int32_t removeShareMemory();

    // ---- Commands -------------------------------------------------------------------------------
    /// Only for uplinks.
    void offerRing();
    void withdrawRing();
    /// Repeats the announcement of the physical ring to the client. @return false without a ring
    [[nodiscard]] bool announceRingAgain();
    /// Notifies the client that the stream is gone.
    void notifyRemoved();

    // ---- The clock ------------------------------------------------------------------------------
    /// Whether the stream has both data to record and a ring.
    [[nodiscard]] bool isFlowing() const;
    /// Records one period.
    void fillPeriod();
    /// Records as much as fits, up to a limit. @return whether there was room for more
    bool fillUp();

    // ---- Time that waits for streams ------------------------------------------------------------
    /// Puts what waits for room into the ring. @return whether nothing waits any more
    bool makeRoom();
    /// Records one period; what does not fit waits for room.
    void step();
    /// A stream that is held back records nothing.
    void hold(bool isHeld) { mIsHeld = isHeld; }
    [[nodiscard]] bool isHeld() const { return mIsHeld; }
    /// Whether a started stream's ring is announced, or will be, and the client has not asked for
    /// it yet.
    [[nodiscard]] bool isRingAwaited() const {
        return isActive() && mOffer && !mIsRingKnown && !mOffer->isAway() &&
               !mOffer->isWithdrawing();
    }
    /// Whether the client must still acknowledge that its ring was withdrawn.
    [[nodiscard]] bool isLettingGo() const { return mOffer && mOffer->isWithdrawing(); }
    /// Wakes a waiting reader: its wait begins anew.
    void wakeReader() const;
    /// Number of starts so far.
    [[nodiscard]] std::uint32_t starts() const { return mStarts; }

    // ---- Queries --------------------------------------------------------------------------------
    [[nodiscard]] Client& client() const { return mClient; }
    [[nodiscard]] const Parts& parts() const { return mParts; }
    [[nodiscard]] const Counters& counters() const { return mCounters; }
    [[nodiscard]] bool isUplink() const { return mParts.tag == AUDIO_TAG_UPLINK; }
    [[nodiscard]] bool isActive() const { return mState == ACTIVE; }
    [[nodiscard]] std::int32_t volume() const { return mVolume; }
    /// The microphone of a started stream; empty for other inputs.
    [[nodiscard]] std::optional<InputDevice> inputDevice() const {
        return mInput ? mInput->device() : std::nullopt;
    }
    /// Highest recorded amplitude in the last tenth of a second.
    [[nodiscard]] float peak() const { return isFlowing() ? mPeak.peak(mCounters.frames) : 0.0F; }
    /// Null while the client has none.
    [[nodiscard]] const CaptureRing* ring() const { return mParts.ring.get(); }
    /// Null for a POSIX ring, which is never announced.
    [[nodiscard]] const RingOffer* ringOffer() const { return mOffer ? &*mOffer : nullptr; }

private:
    void dropRing();
    bool makeRing();
    void record();
    void applyVolume();
    void measure();
    bool writeOut();
    void show(std::span<const std::uint8_t> packet);
    void checkClient();

    Client& mClient;
    Parts mParts;
    std::optional<RingOffer> mOffer;  // of a physical ring
    bool mIsRingKnown = false;        // the client has asked for its address
    AudioStreamState mState = IDLE;
    std::int32_t mVolume = FULL_VOLUME;
    std::unique_ptr<InputSource> mInput;     // while started
    std::unique_ptr<FrameEncoder> mEncoder;  // while started
    bool mIsHeld = false;
    std::uint32_t mStarts = 0;
    std::uint64_t mPeriods = 0;                      // recorded since the start
    std::vector<float> mSamples;                     // of one period
    std::deque<std::vector<std::uint8_t>> mPackets;  // waiting for room
    Counters mCounters;
    PeakWindow mPeak;
};

}  // namespace cabinaudio::server
