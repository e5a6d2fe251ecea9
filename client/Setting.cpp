// SPDX-License-Identifier: Apache-2.0
#include "client/Setting.h"

#include <cabinaudio/link/RemoteCall.h>

namespace cabinaudio::setting {
namespace {

struct Results {
    const Result* first;
    std::size_t count;
};

void store(const std::uint8_t* reply, const void* context) {
    const auto& results = *static_cast<const Results*>(context);
    const std::uint8_t* at = reply + sizeof(std::int32_t);
    for (std::size_t i = 0; i < results.count; ++i) {
        const Result& result = results.first[i];
        if (result.to != nullptr) std::memcpy(result.to, at, result.size);
        at += result.field();
    }
}

void fill(std::uint8_t* block, const Request& request) {
    std::memcpy(block, request.record.at, request.record.size);
    if (request.behind.size != 0)
        std::memcpy(block + request.record.size, request.behind.at, request.behind.size);
}

}  // namespace

wire::Name text(const char* text, std::size_t most) {
    wire::Name field{};
    std::memcpy(field.text, text, strnlen(text, most));
    return field;
}

Answer sendRequest(const Caller& caller, const Request& request, const ReplyReader& reply) {
    const Answer answer = requestBlocks<FillRef, ConcludeRef>(
        caller.rc, request.record.size + request.behind.size, reply.size, true,
        [&](std::uint8_t* block) {
            if (request.allocated != nullptr) request.allocated(caller.site);
            fill(block, request);
        },
        [&](std::int32_t called, const std::uint8_t* block) {
            if (called == AUDIO_NO_ERROR && reply.take != nullptr) reply.take(block, reply.context);
        });
    logUnfreed(answer, caller.site);
    return answer;
}

std::int32_t tell(const Caller& caller, const Bytes& record, const Bytes& behind) {
    return sendRequest(caller, {.record = record, .behind = behind}, {}).status;
}

std::int32_t fetch(const Caller& caller, const Request& request, const Result* results,
                   std::size_t count) {
    const Results all{results, count};
    std::uint32_t size = sizeof(std::int32_t);
    for (std::size_t i = 0; i < count; ++i)
        size += results[i].field();
    return sendRequest(caller, request, {size, store, &all}).status;
}

std::int32_t refuseAt(const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "invalid input param\n");
    return AUDIO_BAD_VALUE;
}

std::int32_t deprecatedAt(const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "Deprecated API[%s] is called. \n", site.function);
    return AUDIO_NO_ERROR;
}

}  // namespace cabinaudio::setting
