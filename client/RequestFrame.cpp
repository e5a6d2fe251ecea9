// SPDX-License-Identifier: Apache-2.0
#include "client/RequestFrame.h"

namespace cabinaudio {

Steps ask(RemoteCall& rc, const void* request, std::uint32_t requestSize, void* reply,
          std::uint32_t replySize, bool flag) {
    return exchangeBlocks(
        rc, requestSize, replySize, flag,
        [&](std::uint8_t* param) { std::memcpy(param, request, requestSize); },
        [&](const std::uint8_t* ret) { std::memcpy(reply, ret, replySize); });
}

Answer answerOf(const Steps& steps, std::int32_t replied, const LogSite& site) {
    if (steps.allocated != AUDIO_NO_ERROR) return {false, AUDIO_NO_MEMORY};
    if (!steps.isFreed) AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "rcfree error.\n");
    if (steps.called != AUDIO_NO_ERROR) return {false, steps.called};
    return {true, replied};
}

Answer exchange(RemoteCall& rc, const LogSite& site, const void* request, std::uint32_t requestSize,
                void* reply, std::uint32_t replySize, bool flag) {
    const Steps steps = ask(rc, request, requestSize, reply, replySize, flag);
    std::int32_t status = AUDIO_NO_ERROR;
    std::memcpy(&status, reply, sizeof status);
    return answerOf(steps, status, site);
}

}  // namespace cabinaudio
