// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Json.h"

#include "devkit/text/Format.h"
#include "devkit/trace/ConnectType.h"
#include "devkit/trace/FieldsJson.h"
#include "devkit/trace/Load.h"
#include "devkit/trace/RecordTime.h"
#include "devkit/trace/WireFields.h"
#include "wire/Frame.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>

namespace cabinaudio::trace {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Json = nlohmann::ordered_json;
using Of = Happening::Kind;

Json orNull(const char* text) {
    return text != nullptr ? Json(text) : Json(nullptr);
}

const char* nameOfKind(Of kind) {
    switch (kind) {
        case Of::Connected:
            return "connected";
        case Of::Registration:
            return "registration";
        case Of::Request:
            return "request";
        case Of::Notification:
            return "notification";
        case Of::Disconnected:
            return "disconnected";
        case Of::Ring:
            return "ring";
        case Of::Sound:
            return "sound";
        case Of::Lost:
            return "lost";
        case Of::FromClient:
            return "from_client";
        case Of::FromServer:
            break;
    }
    return "from_server";
}

Json headOf(const Happening& happening) {
    const Peer& peer = happening.peer;
    const bool isTyped = peer.type != UNKNOWN;
    const auto type = static_cast<audio_connect_type>(peer.type);
    return {{"time", isoTime(happening.timeNs)},
            {"connection", peer.connection},
            {"pid", peer.pid != 0 ? Json(peer.pid) : Json(nullptr)},
            {"type", isTyped ? Json(connectTypeName(type)) : Json(nullptr)},
            {"type_number", isTyped ? Json(peer.type) : Json(nullptr)},
            {"handle", peer.handle},
            {"name", isTyped ? Json(peer.name) : Json(nullptr)},
            {"kind", nameOfKind(happening.kind)}};
}

/// Why a reply is not decoded; "" if it is.
std::string replyProblem(const Happening& happening, Bytes body, std::size_t expected) {
    if (!happening.isAnswered) return "no reply";
    const auto header = load<SocketFrameHeader>(happening.reply);
    if (header.magic != FRAME_MAGIC)
        return text::format("magic word 0x%08x in the reply", header.magic);
    if (body.size() < expected)
        return text::format("a reply of %zu bytes, expected %zu", body.size(), expected);
    return "";
}

void addStatus(Json& json, const Happening& happening, Bytes body) {
    const bool hasStatus = happening.isAnswered && body.size() >= sizeof(std::int32_t);
    const auto status = load<std::int32_t>(body);
    json["status"] = hasStatus ? Json(status) : Json(nullptr);
    json["status_name"] = hasStatus ? orNull(nameOf(statusCodes(), status)) : Json(nullptr);
    json["microseconds"] = happening.isAnswered ? Json(happening.microseconds) : Json(nullptr);
}

/// Results that were refused are zeros, as they were sent.
void addRequest(Json& json, const Happening& happening) {
    const Bytes payload = behind(happening.request, sizeof(audio_param));
    const Bytes body = behind(happening.reply, sizeof(SocketFrameHeader));
    const auto function = load<std::uint32_t>(payload);
    const WireOperation* const operation = findOperation(happening.peer.type, function);
    std::string problem = operation == nullptr ? "an unknown function" : "";
    json["operation"] = operation != nullptr ? Json(operation->name) : Json(nullptr);
    json["function"] = function;
    json["flag"] = load<audio_param>(happening.request).cmd == AUDIO_CMD_CALL_FLAG;
    json["request"] = nullptr;
    json["reply"] = nullptr;
    if (operation != nullptr && payload.size() < operation->request->size)
        problem = text::format("a request of %zu bytes, expected %u", payload.size(),
                               operation->request->size);
    else if (operation != nullptr)
        json["request"] = fieldsOf(*operation->request, payload, operation->valueUnit);
    const std::size_t expected = operation != nullptr ? operation->reply->size : 0;
    const std::string replyFault = replyProblem(happening, body, expected);
    if (operation != nullptr && replyFault.empty())
        json["reply"] = fieldsOf(*operation->reply, body, operation->valueUnit);
    if (!replyFault.empty()) problem += (problem.empty() ? "" : "; ") + replyFault;
    addStatus(json, happening, body);
    json["problem"] = problem.empty() ? Json(nullptr) : Json(problem);
}

void addRegistration(Json& json, const Happening& happening) {
    const bool isRefused = happening.isAnswered && happening.peer.handle == 0;
    json["microseconds"] = happening.isAnswered ? Json(happening.microseconds) : Json(nullptr);
    json["problem"] = orNull(!happening.isAnswered ? "no reply" : isRefused ? "refused" : nullptr);
}

void addNotification(Json& json, const Happening& happening) {
    const auto header = load<SocketFrameHeader>(happening.bytes);
    const WireEvent* const event = findEvent(happening.peer.type, header.event);
    json["event"] = header.event;
    json["event_name"] = orNull(event != nullptr ? event->name : nullptr);
    json["value"] = header.param;
}

void addRing(Json& json, const RingSummary& ring) {
    static constexpr const char* EVENTS[] = {"unknown", "write", "read", "notify", "wait"};
    json["event"] = EVENTS[ring.event < std::size(EVENTS) ? ring.event : 0];
    json["count"] = ring.count;
    json["bytes"] = ring.bytes;
    json["position"] = ring.position;
    json["longest_wait_us"] = ring.longestWait;
    json["fill_bytes"] = ring.fill;
    json["size_bytes"] = ring.size;
}

void addSound(Json& json, Bytes bytes) {
    const auto header = load<SoundHeader>(bytes);
    const bool isToServer = header.direction == static_cast<std::uint32_t>(Direction::ToServer);
    json["direction"] = isToServer ? "to_server" : "to_client";
    json["position"] = header.position;
    json["bytes"] = behind(bytes, sizeof header).size();
}

}  // namespace

Json jsonOf(const Happening& happening) {
    Json json = headOf(happening);
    switch (happening.kind) {
        case Of::Connected:
        case Of::Disconnected:
            break;
        case Of::Registration:
            addRegistration(json, happening);
            break;
        case Of::Request:
            addRequest(json, happening);
            break;
        case Of::Notification:
            addNotification(json, happening);
            break;
        case Of::Ring:
            addRing(json, load<RingSummary>(happening.bytes));
            break;
        case Of::Sound:
            addSound(json, happening.bytes);
            break;
        case Of::Lost:
            json["records"] = load<LostRecords>(happening.bytes).count;
            break;
        case Of::FromClient:
        case Of::FromServer:
            json["bytes"] = hexOf(happening.bytes);
            break;
    }
    return json;
}

}  // namespace cabinaudio::trace
