// SPDX-License-Identifier: Apache-2.0
#include "client/Setting.h"

#include <cabinaudio/link/RemoteCall.h>

namespace cabinaudio::setting {

Answer exchange(RemoteCall& rc, const LogSite& site, const Request& request, const Reply& reply) {
    const Answer answer = requestBlocks<FillRef, ConcludeRef>(
        rc, request.size, reply.size, true,
        [&](std::uint8_t* block) {
            std::memset(block, 0, request.size);
            request.fill(put(block, request.function), request.context);
        },
        [&](std::int32_t called, const std::uint8_t* block) {
            if (called == AUDIO_NO_ERROR) reply.take(block + sizeof called, reply.context);
        });
    logUnfreed(answer, site);
    return answer;
}

}  // namespace cabinaudio::setting
