// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include "tests/support/Row.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/ServerRing.h"
#include "tests/support/kinds/AnyStream.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace cabinaudio::test {

/// Bytes of the rings that these servers make.
constexpr unsigned RING_SIZE = 4096;

constexpr AudioFormatDesc MUSIC = {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
constexpr AudioFormatDesc SPEECH = {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};

/// One kind of stream: how it is made, how its ring arrives, what it logs and refuses.
struct StreamKind : Row {
    AudioTagType tag;
    AudioFormatDesc format;
    bool writes;
    bool isPosix;           // the ring is one object, which the stream maps at its creation
    std::uint32_t event;    // announces a ring in physical memory
    const char* announced;  // expression: the line of a stream "str" that has taken it
    std::unique_ptr<AnyStream> (*make)(const char* name, AudioTagType tag, AudioFormatDesc format);

    [[nodiscard]] std::unique_ptr<AnyStream> create(const std::string& streamName,
                                                    const AudioFormatDesc& anyFormat) const {
        return make(streamName.c_str(), tag, anyFormat);
    }
    [[nodiscard]] std::unique_ptr<AnyStream> create(const std::string& streamName = "str") const {
        return create(streamName, format);
    }
    /// The server's end of such a stream's ring; see posixRing().
    [[nodiscard]] std::unique_ptr<ShareMemoryEx> ring(const std::string& streamName = "str") const;
    /// The object in which the ring's header lies.
    [[nodiscard]] std::string ringObject(const std::string& streamName = "str") const {
        return streamName + (isPosix ? "" : "_0x100000");
    }

    [[nodiscard]] bool isSink() const { return tag == AUDIO_TAG_MAIN; }
    [[nodiscard]] bool isTrack() const { return writes && !isSink(); }
    /// A read gives one frame, independent of the count that it asks for.
    [[nodiscard]] bool isCoded() const { return format.codecType != 0; }
    /// Result of a write or read while another one is blocked in the stream.
    [[nodiscard]] int refusal() const {
        return writes ? AUDIO_INVALID_OPERATION : AUDIO_INVALID_STATE;
    }
};

/// The five kinds, linear PCM: two of tracks, a sink, a record, an uplink.
[[nodiscard]] const std::vector<StreamKind>& streamKinds();
/// Those whose ring lies in physical memory, and is announced.
[[nodiscard]] std::vector<StreamKind> physicalKinds();
/// The five kinds, and uplinks that read LOAS and Opus frames.
[[nodiscard]] std::vector<StreamKind> codedKinds();
/// One of streamKinds(); null for another name.
[[nodiscard]] const StreamKind* findStreamKind(std::string_view name);
/// The same where it must exist.
[[nodiscard]] const StreamKind& streamKind(std::string_view name);
[[nodiscard]] std::vector<StreamKind> kindsNamed(std::initializer_list<std::string_view> names);

/// Functions of capture and of playback streams.
constexpr std::uint32_t CREATE_FUNCTIONS[] = {2, 21};
constexpr std::uint32_t PLACE_FUNCTIONS[] = {18, 20};
constexpr std::uint32_t LET_GO = 19;

/// Answer to the request that creates a stream.
[[nodiscard]] Answer created(int perLoopSize = 1024, unsigned size = RING_SIZE);
/// Answer to the request for the place of a ring in physical memory.
[[nodiscard]] Answer placed();

/// @param reply  an Answer, or a handler
template <typename Reply>
void onCreate(ScriptedServer& server, const Reply& reply) {
    for (const std::uint32_t function : CREATE_FUNCTIONS)
        server.on(function, reply);
}
template <typename Reply>
void onPlace(ScriptedServer& server, const Reply& reply) {
    for (const std::uint32_t function : PLACE_FUNCTIONS)
        server.on(function, reply);
}

/// The server's end of the ring of a stream "str": made anew whenever the stream asks for its
/// place. Any thread.
class ServedRing {
public:
    explicit ServedRing(const StreamKind& kind) : mKind(kind) {}

    /// Answers the requests that create a stream and that ask for the ring's place.
    void serve(ScriptedServer& server);
    [[nodiscard]] Answer place();

    /// For a ring that comes with the stream; the others are made by place().
    void begin();
    void drop();
    /// A request for the place is refused from now on.
    void end();

    /// Plays or records so many bytes, as far as they are there or fit.
    void move(unsigned count);

private:
    void make();

    const StreamKind& mKind;
    std::mutex mLock;
    std::unique_ptr<ShareMemoryEx> mRing;
    bool mIsOver = false;
};

}  // namespace cabinaudio::test
