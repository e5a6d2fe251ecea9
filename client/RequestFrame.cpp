// SPDX-License-Identifier: Apache-2.0
#include "client/RequestFrame.h"

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/RemoteCall.h>

#include <cstring>

namespace cabinaudio {

Steps ask(RemoteCall& rc, const void* request, std::uint32_t requestSize, void* reply,
          std::uint32_t replySize, bool flag) {
    std::uint8_t* param = nullptr;
    std::uint8_t* ret = nullptr;
    Steps steps{rc.rcalloc(&param, requestSize, &ret, replySize), AUDIO_NOT_CONNECTED, true};
    if (steps.allocated != AUDIO_NO_ERROR) return steps;

    std::memcpy(param, request, requestSize);
    std::memset(ret, 0, replySize);
    steps.called = rc.call(param, requestSize, ret, replySize, flag);
    if (steps.called == AUDIO_NO_ERROR) std::memcpy(reply, ret, replySize);
    steps.isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;
    return steps;
}

Answer exchange(RemoteCall& rc, const LogSite& site, const void* request, std::uint32_t requestSize,
                void* reply, std::uint32_t replySize, bool flag) {
    const Steps steps = ask(rc, request, requestSize, reply, replySize, flag);
    if (steps.allocated != AUDIO_NO_ERROR) return {false, AUDIO_NO_MEMORY};
    if (!steps.isFreed) AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "rcfree error.\n");
    if (steps.called != AUDIO_NO_ERROR) return {false, steps.called};

    Answer answer{true, AUDIO_NO_ERROR};
    std::memcpy(&answer.status, reply, sizeof answer.status);
    return answer;
}

}  // namespace cabinaudio
