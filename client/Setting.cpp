// SPDX-License-Identifier: Apache-2.0
#include "client/Setting.h"

#include <cabinaudio/link/RemoteCall.h>

namespace cabinaudio::setting {

Answer exchange(RemoteCall& rc, const LogSite& site, const Request& request, const Reply& reply) {
    std::int32_t status = AUDIO_NO_ERROR;
    const Steps steps = exchangeBlocks(
        rc, request.size, reply.size, true,
        [&](std::uint8_t* block) { request.fill(put(block, request.function), request.context); },
        [&](const std::uint8_t* block) {
            std::memcpy(&status, block, sizeof status);
            reply.take(block + sizeof status, reply.context);
        });
    return answerOf(steps, status, site);
}

}  // namespace cabinaudio::setting
