// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Connection.h"
#include "devkit/contract/Ring.h"
#include "devkit/contract/Session.h"
#include "wire/Stream.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::contract {

inline constexpr std::uint32_t STREAM_RATE = 48000;
inline constexpr std::uint32_t FRAME_BYTES = 4;  // two channels of 16 bits
inline constexpr std::uint32_t PERIOD_BYTES = STREAM_RATE * 16 / 1000 * FRAME_BYTES;

/// Linear PCM of two channels.
[[nodiscard]] AudioFormatDesc plainFormat();

/// A kind of playback stream and its numbers.
struct PlaybackKind {
    const char* name;
    audio_connect_type type;
    bool isAnnounced;  // its ring lies in physical memory, and event 3 tells of it
    bool hasInitCheck;
    std::uint32_t finished;  // event; 0: none
};

inline constexpr PlaybackKind ALTERNATIVE = {"alternative", AUDIO_CONNECT_ALTERNATIVE, false, true,
                                             0};
inline constexpr PlaybackKind AUXILIARY = {"auxiliary", AUDIO_CONNECT_AUXILIARY, true, true,
                                           idOf(wire::TrackEvent::Finished)};
inline constexpr PlaybackKind SINK = {"sink", AUDIO_CONNECT_MAIN, true, false,
                                      idOf(wire::SinkEvent::Finished)};

/// A playback stream that is created, and plays silence at most.
class PlaybackStream {
public:
    /// Registers it under the name of the rule and creates it. @throws Broken when it is refused
    PlaybackStream(Session& session, const PlaybackKind& kind, const std::string& suffix = "");

    [[nodiscard]] Connection& connection() { return mConnection; }
    [[nodiscard]] const std::string& name() const { return mName; }
    [[nodiscard]] const wire::CreateReply& created() const { return mCreated; }

    /// Maps the ring; waits for its announcement where the kind has one.
    /// @throws NotJudged when a sink gets no source
    [[nodiscard]] Ring ring();
    /// The reply to function 20, after its announcement.
    [[nodiscard]] wire::ShareMemoryReply announcedPlace();
    [[nodiscard]] wire::ShareMemoryReply askForPlace();
    [[nodiscard]] Ring mapped(const wire::ShareMemoryReply& place) const;

    void call(wire::StreamFunction function, const char* what);
    /// Starts it, with so much silence in its ring.
    void startWith(Ring& ring, std::uint32_t bytes);

private:
    Session& mSession;
    const PlaybackKind& mKind;
    std::string mName;
    Connection mConnection;
    wire::CreateReply mCreated;
};

/// A capture stream that is created.
class CaptureStream {
public:
    CaptureStream(Session& session, audio_connect_type type, const AudioFormatDesc& format);

    [[nodiscard]] Connection& connection() { return mConnection; }
    [[nodiscard]] const std::string& name() const { return mName; }
    /// Status and sizes; a refusal is not thrown.
    [[nodiscard]] const wire::CreateReply& created() const { return mCreated; }
    void requireCreated() const;

    /// Of a stream that is no uplink.
    [[nodiscard]] Ring ring() const;
    /// Of an uplink: waits for its announcement.
    [[nodiscard]] wire::ShareMemoryReply announcedPlace();
    [[nodiscard]] Ring mapped(const wire::ShareMemoryReply& place) const;

    void call(wire::CaptureFunction function, const char* what);

private:
    Session& mSession;
    std::string mName;
    bool mIsUplink;
    Connection mConnection;
    wire::CreateReply mCreated;
};

}  // namespace cabinaudio::contract
