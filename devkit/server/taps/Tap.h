// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/SampleCodec.h"
#include "devkit/server/streams/PlaybackStream.h"
#include "devkit/server/taps/Outflow.h"
#include "devkit/server/taps/TapRecord.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// One listener: sends sound to a connection, through a bounded buffer, and never waits for it.
/// Frames that do not fit are counted, and reported in their place. Of the event loop's thread.
class Tap {
public:
    struct Wanted {
        SampleType type = SampleType::S16;
        std::size_t loudspeaker = 0;         // unless `channel` is empty
        std::optional<std::size_t> channel;  // of the output; empty: all
        std::string stream;                  // empty: the mix
    };

    /// @param bound   bytes of samples that may wait for the listener
    /// @param onGone  called once the listener has closed its connection
    Tap(EventLoop& loop, UniqueFd socket, Admitted admitted, Wanted wanted, std::size_t bound,
        std::function<void()> onGone);

    /// The answer to the listener's command, without the line end. Comes before all records.
    void answer(const std::string& line);
    /// @param frames  whole frames of the output
    void add(std::span<const float> frames, unsigned channels);
    /// The stream exists.
    void begin(const PlaybackStream& source);
    /// Nothing follows: @param kind  tells why
    void finish(TapRecord kind);

    /// The stream that is listened to, from its begin to its end.
    [[nodiscard]] const PlaybackStream* source() const { return mSource; }
    [[nodiscard]] const Wanted& wanted() const { return mWanted; }

    [[nodiscard]] bool isFinished() const { return mIsFinished; }
    /// Whether the listener has closed its connection.
    [[nodiscard]] bool isGone() const { return mOutflow.isGone(); }
    /// Whether something still waits for the listener.
    [[nodiscard]] bool isPending() const { return mOutflow.isPending(); }
    [[nodiscard]] std::size_t queuedBytes() const { return mOutflow.queuedBytes(); }
    /// Since the start.
    [[nodiscard]] std::uint64_t lostFrames() const { return mLostFrames; }
    [[nodiscard]] Outflow& outflow() { return mOutflow; }

private:
    void append(TapRecord kind, std::uint32_t count);
    void lose(std::size_t frames);
    void reportLoss();
    [[nodiscard]] std::span<const float> selected(std::span<const float> frames, unsigned channels);

    Outflow mOutflow;
    const Wanted mWanted;
    const std::size_t mBound;
    const PlaybackStream* mSource = nullptr;
    std::uint32_t mUnreported = 0;  // lost frames
    std::uint64_t mLostFrames = 0;
    bool mIsFinished = false;
    std::vector<float> mChannel;
    std::vector<std::uint8_t> mEncoded;
};

}  // namespace cabinaudio::server
