// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/clients/Client.h"
#include "devkit/server/codecs/FrameEncoder.h"
#include "devkit/server/inputs/InputSource.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/rings/CaptureRing.h"
#include "devkit/server/rings/RingOffer.h"
#include "devkit/server/sound/StreamFormat.h"
#include "wire/Stream.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace cabinaudio::server {

/// A stream that a client records: the way of an input's samples to its ring.
///
///     input -> gain, volume -> encoder -> ring
///
/// The input is at its beginning after every start. It stands still while the client has no ring
/// (uplink only: the ring comes and goes). What does not fit the ring is lost, in whole frames of
/// the codec or whole periods of linear PCM, and counted.
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
        /// Makes another ring after it was taken away; null when there is no memory for it.
        std::function<std::unique_ptr<CaptureRing>()> makeRing;
        /// Both throw std::exception saying what does not work.
        std::function<std::unique_ptr<InputSource>()> openInput;
        std::function<std::unique_ptr<FrameEncoder>()> makeEncoder;
        /// Factor of a channel, asked for every period; null for 1.
        std::function<float(std::size_t channel)> gain;
        /// After a start, before an uplink's ring is announced; nothing: it is not.
        std::optional<std::chrono::milliseconds> ringDelay;
        /// Called when there may be something to be filled, or nothing any more.
        std::function<void()> onChange;
    };

    struct Counters {
        std::uint64_t frames = 0;          // taken from the input
        std::uint64_t bytes = 0;           // put into the ring
        std::uint64_t packets = 0;         // in them: the codec's frames, or periods of linear PCM
        std::uint64_t overruns = 0;        // packets that did not fit
        std::uint64_t discardedBytes = 0;  // left in rings that were taken away
    };

    CaptureStream(EventLoop& loop, Client& client, Parts parts);
    CaptureStream(const CaptureStream&) = delete;
    CaptureStream& operator=(const CaptureStream&) = delete;

    // Requests -------------------------------------------------------------------
    std::int32_t start();
    std::int32_t stop();
    std::int32_t setVolume(std::int32_t volume);
    /// Tells where a physical ring lies; refused before it was announced.
    std::int32_t getShareMemory(wire::ShareMemoryReply& reply);
    /// The client has let go of its ring.
    std::int32_t removeShareMemory();

    // Commands -------------------------------------------------------------------
    /// Only for uplinks.
    void offerRing();
    void withdrawRing();
    /// Tells the client once more of its physical ring. @return false when it has none
    [[nodiscard]] bool announceRingAgain();
    /// Tells the client that the stream is gone.
    void sayRemoved();

    // The clock ------------------------------------------------------------------
    /// Whether there is anything to be put, and a ring to put it into.
    [[nodiscard]] bool isFlowing() const;
    /// Records one period.
    void fillPeriod();
    /// Records as much as fits, some periods at most. @return whether there was room for more
    bool fillUp();

    // For everybody who looks -----------------------------------------------------
    [[nodiscard]] Client& client() const { return mClient; }
    [[nodiscard]] const Parts& parts() const { return mParts; }
    [[nodiscard]] const Counters& counters() const { return mCounters; }
    [[nodiscard]] bool isUplink() const { return mParts.tag == AUDIO_TAG_UPLINK; }
    [[nodiscard]] bool isActive() const { return mState == ACTIVE; }
    [[nodiscard]] std::int32_t volume() const { return mVolume; }
    /// Null while the client has none.
    [[nodiscard]] const CaptureRing* ring() const { return mParts.ring.get(); }
    /// Null for a POSIX ring, which is no matter of offers.
    [[nodiscard]] const RingOffer* ringOffer() const { return mOffer ? &*mOffer : nullptr; }

private:
    void dropRing();
    void record();
    void applyVolume();
    bool writeOut();
    void checkClient();

    Client& mClient;
    Parts mParts;
    std::optional<RingOffer> mOffer;  // of a physical ring
    bool mIsRingKnown = false;        // the client has asked where it is
    AudioStreamState mState = IDLE;
    std::int32_t mVolume = FULL_VOLUME;
    std::unique_ptr<InputSource> mInput;             // while started
    std::unique_ptr<FrameEncoder> mEncoder;          // while started
    std::uint64_t mPeriods = 0;                      // recorded since the start
    std::vector<float> mSamples;                     // of one period
    std::deque<std::vector<std::uint8_t>> mPackets;  // that wait for room
    Counters mCounters;
};

}  // namespace cabinaudio::server
