// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Rule.h"
#include "devkit/contract/Stream.h"

#include <cstddef>

namespace cabinaudio::contract {

namespace {

using Id = wire::CaptureFunction;

/// A coded uplink and the size of its frames.
struct Codec {
    std::uint32_t number;
    const char* name;
    std::size_t head;  // bytes that tell the size of a frame
    /// @throws Broken when these bytes are no begin of a frame. @return its size
    std::size_t (*frameSize)(const Bytes& head);
};

constexpr std::uint32_t SPEECH_RATE = 16000;

AudioFormatDesc formatOf(std::uint32_t codec) {
    AudioFormatDesc format = plainFormat();
    format.codecType = codec;
    format.sampleRate = SPEECH_RATE;
    format.channelMap = static_cast<AudioChannelMapType>(1);
    return format;
}

std::size_t loasSize(const Bytes& head) {
    constexpr std::uint32_t SYNC = 0x2b7;
    constexpr unsigned LENGTH_BITS = 13;
    const std::uint32_t word = std::uint32_t{head[0]} << 16 | std::uint32_t{head[1]} << 8 | head[2];
    require(word >> LENGTH_BITS == SYNC, "a frame of LOAS, 0x2b7 in its upper 11 bits",
            hexText(head));
    return head.size() + (word & ((1U << LENGTH_BITS) - 1));
}

std::size_t opusSize(const Bytes& head) {
    require(Bytes(head.begin() + 4, head.end()) == Bytes{1, 2, 3, 4},
            "the bytes 01 02 03 04 behind a packet's length", hexText(head));
    return head.size() + (std::size_t{head[0]} << 24 | std::size_t{head[1]} << 16 |
                          std::size_t{head[2]} << 8 | head[3]);
}

std::size_t msbcSize(const Bytes& head) {
    constexpr std::uint8_t SYNC = 0xad;
    constexpr std::size_t SIZE = 57;
    require(head[0] == SYNC, "a frame that begins with 0xad", hexText(head));
    return SIZE;
}

constexpr Codec CODECS[] = {
    {16, "aac", 3, loasSize}, {32, "opus", 8, opusSize}, {65, "msbc", 1, msbcSize}};

void created(Session& session) {
    const CaptureStream stream(session, AUDIO_CONNECT_UPLINK, plainFormat());
    stream.requireCreated();
    require(stream.created().ringSize == 0, "ring size 0, because the ring is announced later",
            std::to_string(stream.created().ringSize));
}

void announced(Session& session) {
    CaptureStream stream(session, AUDIO_CONNECT_UPLINK, plainFormat());
    stream.requireCreated();
    stream.call(Id::Start, "start");
    (void)stream.mapped(stream.announcedPlace());
}

void records(Session& session) {
    CaptureStream stream(session, AUDIO_CONNECT_UPLINK, plainFormat());
    stream.requireCreated();
    stream.call(Id::Start, "start");
    const Ring ring = stream.mapped(stream.announcedPlace());
    const bool isThere = session.eventually([&] { return ring.used() >= PERIOD_BYTES; });
    require(isThere, "a period of 3072 bytes in the ring",
            std::to_string(ring.used()) + " bytes after " + session.patienceText());
}

void acknowledged(Session& session) {
    CaptureStream stream(session, AUDIO_CONNECT_UPLINK, plainFormat());
    stream.requireCreated();
    stream.call(Id::Start, "start");
    const wire::ShareMemoryReply place = stream.announcedPlace();
    const std::string object = stream.mapped(place).object();
    stream.call(Id::RemoveShareMemory, "acknowledgement");
    const bool isGone = session.eventually([&] { return !Ring::exists(object); });
    require(isGone, "no object \"" + object + "\" after the acknowledgement",
            "it is still there after " + session.patienceText());
}

void unknownCodec(Session& session) {
    constexpr std::uint32_t NO_CODEC = 9999;
    const CaptureStream stream(session, AUDIO_CONNECT_UPLINK, formatOf(NO_CODEC));
    require(stream.created().status != 0, "a refusal of codec 9999", "status 0");
}

void waitForBytes(const Session& session, const Ring& ring, std::size_t count) {
    const bool isThere = session.eventually([&] { return ring.used() >= count; });
    require(isThere, std::to_string(count) + " bytes of a frame",
            std::to_string(ring.used()) + " after " + session.patienceText());
}

void frames(Session& session, const Codec& codec) {
    CaptureStream stream(session, AUDIO_CONNECT_UPLINK, formatOf(codec.number));
    if (stream.created().status != 0)
        throw NotJudged("the server has no encoder for it: status " +
                        std::to_string(stream.created().status));
    stream.call(Id::Start, "start");
    Ring ring = stream.mapped(stream.announcedPlace());
    constexpr int FRAMES = 3;
    for (int i = 0; i < FRAMES; ++i) {
        waitForBytes(session, ring, codec.head);
        const std::size_t size = codec.frameSize(ring.read(static_cast<std::uint32_t>(codec.head)));
        require(size < ring.size(), "a frame smaller than the ring",
                std::to_string(size) + " bytes");
        waitForBytes(session, ring, size - codec.head);
        (void)ring.read(static_cast<std::uint32_t>(size - codec.head));
    }
}

}  // namespace

void addUplinkRules(Rules& rules) {
    const auto add = [&](const std::string& name, const std::string& sentence,
                         std::function<void(Session&)> check) {
        rules.push_back({name, sentence, CAPTURE, Effect::Changes, std::move(check)});
    };
    add("uplink.create", "The uplink is created, and has no ring yet.", created);
    add("uplink.ring", "The ring is announced, and lies where function 18 says.", announced);
    add("uplink.records", "A started uplink gets sound once its ring's address was told.", records);
    add("uplink.acknowledged", "The ring's object is removed after function 19.", acknowledged);
    add("uplink.unknown_codec", "A codec without an encoder is refused.", unknownCodec);
    for (const Codec& codec : CODECS)
        add(std::string("uplink.frames.") + codec.name,
            std::string("The ring of an uplink in ") + codec.name + " holds whole frames.",
            [&codec](Session& session) { frames(session, codec); });
}

}  // namespace cabinaudio::contract
