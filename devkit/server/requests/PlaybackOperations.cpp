// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/StreamTable.h"
#include "devkit/server/streams/PlaybackStream.h"
#include "devkit/server/streams/StreamRegistry.h"
#include "wire/Stream.h"

#include <array>

namespace cabinaudio::server {
namespace {

PlaybackStream* streamOf(const Call& call) {
    return call.services.streams.find(call.client);
}

std::int32_t create(Call& call, const wire::CreateRequest& request, wire::CreateReply& reply) {
    return call.services.streams.create(call.client, request, reply);
}

std::int32_t initCheck(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    return streamOf(call) != nullptr ? AUDIO_NO_ERROR : AUDIO_INVALID_STATE;
}

std::int32_t start(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    PlaybackStream* stream = streamOf(call);
    return stream != nullptr ? stream->start() : AUDIO_INVALID_STATE;
}

std::int32_t stop(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    PlaybackStream* stream = streamOf(call);
    return stream != nullptr ? stream->stop() : AUDIO_INVALID_STATE;
}

std::int32_t writeDone(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    PlaybackStream* stream = streamOf(call);
    return stream != nullptr ? stream->writeDone() : AUDIO_INVALID_STATE;
}

std::int32_t getShareMemory(Call& call, const wire::FunctionRequest&,
                            wire::ShareMemoryReply& reply) {
    PlaybackStream* stream = streamOf(call);
    return stream != nullptr ? stream->getShareMemory(reply) : AUDIO_INVALID_STATE;
}

std::int32_t setKeyShift(Call& call, const wire::KeyShiftRequest& request, wire::StatusReply&) {
    PlaybackStream* stream = streamOf(call);
    return stream != nullptr ? stream->setKeyShift(request.key) : AUDIO_INVALID_STATE;
}

std::int32_t sourceDeactivated(Call& call, const wire::FunctionRequest&, wire::StatusReply&) {
    PlaybackStream* stream = streamOf(call);
    if (stream == nullptr) return AUDIO_INVALID_STATE;
    call.services.streams.sources().onRingUnmapped(*stream);
    return AUDIO_NO_ERROR;
}

using Id = wire::StreamFunction;
constexpr std::array TRACK_OPERATIONS = {
    operation<&start>(Id::Start, "start"),
    operation<&stop>(Id::Stop, "stop"),
    operation<&initCheck>(Id::InitCheck, "initCheck"),
    operation<&writeDone>(Id::WriteDone, "writeDone"),
    operation<&getShareMemory>(Id::GetShareMemory, "getShareMemory"),
    operation<&create>(Id::Create, "create"),
    operation<&setKeyShift>(Id::SetKeyShift, "setKeyShift"),
};
static_assert(coversAll(TRACK_OPERATIONS, wire::TRACK_OPERATIONS));

constexpr std::array SINK_OPERATIONS = {
    operation<&start>(Id::Start, "start"),
    operation<&stop>(Id::Stop, "stop"),
    operation<&writeDone>(Id::WriteDone, "writeDone"),
    operation<&sourceDeactivated>(Id::SourceDeactivated, "sourceDeactivated"),
    operation<&getShareMemory>(Id::GetShareMemory, "getShareMemory"),
    operation<&create>(Id::Create, "create"),
};
static_assert(coversAll(SINK_OPERATIONS, wire::SINK_OPERATIONS));

}  // namespace

std::span<const Operation> trackOperations() {
    return TRACK_OPERATIONS;
}

std::span<const Operation> sinkOperations() {
    return SINK_OPERATIONS;
}

}  // namespace cabinaudio::server
