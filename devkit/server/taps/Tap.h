// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Admission.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/sound/SampleCodec.h"
#include "devkit/server/streams/PlaybackStream.h"
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
    ~Tap();
    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;

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
    [[nodiscard]] bool isGone() const { return mIsGone; }
    /// Whether something still waits for the listener.
    [[nodiscard]] bool isPending() const { return !mIsGone && queuedBytes() != 0; }
    [[nodiscard]] std::size_t queuedBytes() const { return mBuffer.size() - mSent; }
    /// Since the start.
    [[nodiscard]] std::uint64_t lostFrames() const { return mLostFrames; }
    [[nodiscard]] int descriptor() const { return mSocket.get(); }
    /// Sends what the connection takes without waiting. @return whether it took anything
    bool send();

private:
    void onEvent();
    void watch();
    void append(TapRecord kind, std::uint32_t count);
    void append(const void* bytes, std::size_t size);
    void lose(std::size_t frames);
    void reportLoss();
    [[nodiscard]] std::span<const float> selected(std::span<const float> frames, unsigned channels);

    EventLoop& mLoop;
    UniqueFd mSocket;
    Admitted mAdmitted;
    const Wanted mWanted;
    const std::size_t mBound;
    std::function<void()> mOnGone;
    const PlaybackStream* mSource = nullptr;
    std::vector<std::uint8_t> mBuffer;
    std::size_t mSent = 0;          // bytes at the buffer's front that were sent
    std::uint32_t mUnreported = 0;  // lost frames
    std::uint64_t mLostFrames = 0;
    bool mIsFinished = false;
    bool mIsGone = false;
    std::uint32_t mWatched = 0;  // events
    std::vector<float> mChannel;
    std::vector<std::uint8_t> mEncoded;
};

}  // namespace cabinaudio::server
