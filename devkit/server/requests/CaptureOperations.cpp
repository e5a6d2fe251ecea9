// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/StreamTable.h"
#include "devkit/server/streams/CaptureRegistry.h"
#include "devkit/server/streams/CaptureStream.h"
#include "wire/Stream.h"

#include <array>

namespace cabinaudio::server {
namespace {

CaptureStream* streamOf(const Call& call) {
    return call.services.captures.find(call.client);
}

std::int32_t create(Call& call, const wire::CreateRequest& request, wire::CreateReply& reply) {
    return call.services.captures.create(call.client, request, reply);
}

std::int32_t initCheck(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    return streamOf(call) != nullptr ? AUDIO_NO_ERROR : AUDIO_INVALID_STATE;
}

std::int32_t start(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    CaptureStream* stream = streamOf(call);
    return stream != nullptr ? stream->start() : AUDIO_INVALID_STATE;
}

std::int32_t stop(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    CaptureStream* stream = streamOf(call);
    return stream != nullptr ? stream->stop() : AUDIO_INVALID_STATE;
}

std::int32_t setVolume(Call& call, const wire::VolumeRequest& request, wire::StatusReply&) {
    CaptureStream* stream = streamOf(call);
    return stream != nullptr ? stream->setVolume(request.volume) : AUDIO_INVALID_STATE;
}

std::int32_t getVolume(Call& call, const wire::FunctionRequest&, wire::VolumeReply& reply) {
    const CaptureStream* stream = streamOf(call);
    if (stream == nullptr) return AUDIO_INVALID_STATE;
    reply.volume = stream->volume();
    return AUDIO_NO_ERROR;
}

std::int32_t getShareMemory(Call& call, const wire::FunctionRequest&,
                            wire::ShareMemoryReply& reply) {
    CaptureStream* stream = streamOf(call);
    return stream != nullptr ? stream->getShareMemory(reply) : AUDIO_INVALID_STATE;
}

std::int32_t removeShareMemory(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    CaptureStream* stream = streamOf(call);
    return stream != nullptr ? stream->removeShareMemory() : AUDIO_INVALID_STATE;
}

using Id = wire::CaptureFunction;
constexpr std::array CAPTURE_OPERATIONS = {
    operation<&create>(Id::Create, "create"),
    operation<&start>(Id::Start, "start"),
    operation<&stop>(Id::Stop, "stop"),
    operation<&setVolume>(Id::SetVolume, "setVolume"),
    operation<&getVolume>(Id::GetVolume, "getVolume"),
    operation<&initCheck>(Id::InitCheck, "initCheck"),
};
static_assert(coversAll(CAPTURE_OPERATIONS, wire::CAPTURE_OPERATIONS));

constexpr std::array UPLINK_OPERATIONS = {
    operation<&create>(Id::Create, "create"),
    operation<&start>(Id::Start, "start"),
    operation<&stop>(Id::Stop, "stop"),
    operation<&initCheck>(Id::InitCheck, "initCheck"),
    operation<&getShareMemory>(Id::GetShareMemory, "getShareMemory"),
    operation<&removeShareMemory>(Id::RemoveShareMemory, "removeShareMemory"),
};
static_assert(coversAll(UPLINK_OPERATIONS, wire::UPLINK_OPERATIONS));

}  // namespace

std::span<const Operation> captureOperations() {
    return CAPTURE_OPERATIONS;
}

std::span<const Operation> uplinkOperations() {
    return UPLINK_OPERATIONS;
}

}  // namespace cabinaudio::server
