// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/Message.h"

#include <cabinaudio/foundation/AudioConnectType.h>

#include "wire/Stream.h"

#include <algorithm>
#include <iterator>

namespace cabinaudio::replay {

namespace {

template <typename Function>
constexpr std::uint32_t id(Function function) {
    return static_cast<std::uint32_t>(function);
}

StreamAction playbackAction(std::uint32_t function) {
    using wire::StreamFunction;
    switch (static_cast<StreamFunction>(function)) {
        case StreamFunction::Create:
            return StreamAction::Create;
        case StreamFunction::Start:
            return StreamAction::Start;
        case StreamFunction::Stop:
            return StreamAction::Stop;
        case StreamFunction::WriteDone:
            return StreamAction::WriteDone;
        case StreamFunction::GetShareMemory:
            return StreamAction::ShowRing;
        case StreamFunction::SourceDeactivated:
            return StreamAction::ReleaseRing;
        case StreamFunction::InitCheck:
        case StreamFunction::SetKeyShift:
            break;
    }
    return StreamAction::None;
}

StreamAction captureAction(std::uint32_t function) {
    using wire::CaptureFunction;
    switch (static_cast<CaptureFunction>(function)) {
        case CaptureFunction::Create:
            return StreamAction::Create;
        case CaptureFunction::Start:
            return StreamAction::Start;
        case CaptureFunction::Stop:
            return StreamAction::Stop;
        case CaptureFunction::GetShareMemory:
            return StreamAction::ShowRing;
        case CaptureFunction::RemoveShareMemory:
            return StreamAction::ReleaseRing;
        case CaptureFunction::SetVolume:
        case CaptureFunction::GetVolume:
        case CaptureFunction::InitCheck:
            break;
    }
    return StreamAction::None;
}

std::string requestFault(const audio_param& header, std::size_t payload,
                         const Registered& expected) {
    if (header.handle != expected.handle) return "another client's handle";
    if (header.type != expected.type) return "another connection type";
    if (header.length != payload)
        return "a length of " + std::to_string(header.length) + " before " +
               std::to_string(payload) + " bytes";
    return payload < sizeof(std::uint32_t) ? "no function id" : "";
}

std::string registrationFault(const audio_param& header, const Registered* expected) {
    if (expected != nullptr) return "a second registration";
    if (header.handle != AUDIO_REGISTER_WORD) return "a registration without its constant";
    return header.length != sizeof header.name ? "a registration of another length" : "";
}

}  // namespace

bool isPlaybackType(std::uint32_t type) {
    return type <= AUDIO_CONNECT_OUTPUT_INVOCATION;
}

bool isCaptureType(std::uint32_t type) {
    return type >= AUDIO_CONNECT_INPUT0 && type <= AUDIO_CONNECT_INPUT_FRONT_FEEDBACK;
}

bool hasAnnouncedRing(std::uint32_t type) {
    return isPlaybackType(type) ? type != AUDIO_CONNECT_ALTERNATIVE : type == AUDIO_CONNECT_UPLINK;
}

StreamAction actionOf(std::uint32_t type, std::uint32_t function) {
    if (isPlaybackType(type)) return playbackAction(function);
    return isCaptureType(type) ? captureAction(function) : StreamAction::None;
}

RingNews newsOf(std::uint32_t type, const SocketFrameHeader& notification) {
    if (type == AUDIO_CONNECT_UPLINK) {
        if (notification.event != id(wire::CaptureEvent::RingState)) return RingNews::None;
        return notification.param != 0 ? RingNews::Ready : RingNews::Withdrawn;
    }
    if (!isPlaybackType(type) || !hasAnnouncedRing(type)) return RingNews::None;
    static_assert(id(wire::TrackEvent::RingReady) == id(wire::SinkEvent::SourceActivated));
    if (notification.event == id(wire::TrackEvent::RingReady)) return RingNews::Ready;
    const bool isSink = type == AUDIO_CONNECT_MAIN;
    return isSink && notification.event == id(wire::SinkEvent::SourceDeactivated)
               ? RingNews::Withdrawn
               : RingNews::None;
}

std::string faultOf(std::span<const std::uint8_t> message, const Registered* expected) {
    if (message.size() < sizeof(audio_param))
        return "a message of " + std::to_string(message.size()) + " bytes";
    const audio_param header = headerOf(message);
    if (std::find(std::begin(header.name), std::end(header.name), '\0') == std::end(header.name))
        return "a name without an end";
    if (header.cmd == AUDIO_CMD_REGISTER) return registrationFault(header, expected);
    if (header.cmd != AUDIO_CMD_CALL && header.cmd != AUDIO_CMD_CALL_FLAG)
        return "the unknown command " + std::to_string(header.cmd);
    if (expected == nullptr) return "a request before the registration";
    return requestFault(header, message.size() - sizeof header, *expected);
}

}  // namespace cabinaudio::replay
