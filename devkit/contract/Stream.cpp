// SPDX-License-Identifier: Apache-2.0
#include "devkit/contract/Stream.h"

#include "devkit/contract/Outcome.h"

#include <unistd.h>

namespace cabinaudio::contract {

namespace {

Bytes creation(std::uint32_t function, audio_connect_type type, const AudioFormatDesc& format) {
    wire::CreateRequest request = {};
    request.function = function;
    request.tag = type;  // types of streams are their tags
    request.format = format;
    request.pid = getpid();
    return join(request);
}

void requireAccepted(std::int32_t status, const char* what) {
    require(status == 0, std::string(what) + ": status 0", "status " + std::to_string(status));
}

std::uint32_t commandOf(wire::StreamFunction function) {
    return function == wire::StreamFunction::InitCheck ? AUDIO_CMD_CALL : AUDIO_CMD_CALL_FLAG;
}

std::uint32_t commandOf(wire::CaptureFunction function, bool isUplink) {
    using Id = wire::CaptureFunction;
    const bool hasFlag = function == Id::Start || (function == Id::Stop && !isUplink);
    return hasFlag ? AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL;
}

}  // namespace

AudioFormatDesc plainFormat() {
    AudioFormatDesc format = {};
    format.sampleRate = STREAM_RATE;
    format.channelMap = static_cast<AudioChannelMapType>(2);
    format.bitDepth = static_cast<AudioBitDepthType>(16);
    return format;
}

// ---- Playback -----------------------------------------------------------------------------------

PlaybackStream::PlaybackStream(Session& session, const PlaybackKind& kind,
                               const std::string& suffix)
    : mSession(session),
      mKind(kind),
      mName(session.rule + suffix),
      mConnection(session, kind.type, mName),
      mCreated(recordAt<wire::CreateReply>(mConnection.request(
          creation(idOf(wire::StreamFunction::Create), kind.type, plainFormat()),
          sizeof(wire::CreateReply)))) {
    requireAccepted(mCreated.status, "create");
}

wire::ShareMemoryReply PlaybackStream::askForPlace() {
    return recordAt<wire::ShareMemoryReply>(mConnection.request(
        join(idOf(wire::StreamFunction::GetShareMemory)), sizeof(wire::ShareMemoryReply)));
}

wire::ShareMemoryReply PlaybackStream::announcedPlace() {
    if (mKind.type == AUDIO_CONNECT_MAIN) {
        // Which sink has the source is the server's choice.
        const auto told = mConnection.notification(mSession.deadline());
        if (!told || told->event != idOf(wire::SinkEvent::SourceActivated))
            throw NotJudged("the server gives the sink no source");
    } else {
        (void)mConnection.await(idOf(wire::TrackEvent::RingReady), "the ring is ready");
    }
    const wire::ShareMemoryReply place = askForPlace();
    requireAccepted(place.status, "query of the ring's address");
    return place;
}

Ring PlaybackStream::mapped(const wire::ShareMemoryReply& place) const {
    return Ring::inMemory(mSession, mName, place.address, place.size);
}

Ring PlaybackStream::ring() {
    if (mKind.isAnnounced) return mapped(announcedPlace());
    return Ring::inObject(mSession, mName, mCreated.ringSize);
}

void PlaybackStream::call(wire::StreamFunction function, const char* what) {
    mConnection.accept(join(idOf(function)), what, commandOf(function));
}

void PlaybackStream::startWith(Ring& ring, std::uint32_t bytes) {
    ring.writeSilence(bytes);
    call(wire::StreamFunction::Start, "start");
}

// ---- Capture ------------------------------------------------------------------------------------

CaptureStream::CaptureStream(Session& session, audio_connect_type type,
                             const AudioFormatDesc& format)
    : mSession(session),
      mName(session.rule),
      mIsUplink(type == AUDIO_CONNECT_UPLINK),
      mConnection(session, type, mName),
      mCreated(recordAt<wire::CreateReply>(
          mConnection.request(creation(idOf(wire::CaptureFunction::Create), type, format),
                              sizeof(wire::CreateReply)))) {}

void CaptureStream::requireCreated() const {
    requireAccepted(mCreated.status, "create");
}

Ring CaptureStream::ring() const {
    requireCreated();
    return Ring::inObject(mSession, mName, mCreated.ringSize);
}

wire::ShareMemoryReply CaptureStream::announcedPlace() {
    const SocketFrameHeader told =
        mConnection.await(idOf(wire::CaptureEvent::RingState), "the ring is ready");
    require(told.param != 0, "event 2 with another value than 0", "value 0");
    const auto place = recordAt<wire::ShareMemoryReply>(
        mConnection.request(join(idOf(wire::CaptureFunction::GetShareMemory)),
                            sizeof(wire::ShareMemoryReply), AUDIO_CMD_CALL));
    requireAccepted(place.status, "query of the ring's address");
    return place;
}

Ring CaptureStream::mapped(const wire::ShareMemoryReply& place) const {
    return Ring::inMemory(mSession, mName, place.address, place.size);
}

void CaptureStream::call(wire::CaptureFunction function, const char* what) {
    mConnection.accept(join(idOf(function)), what, commandOf(function, mIsUplink));
}

}  // namespace cabinaudio::contract
