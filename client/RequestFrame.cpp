// SPDX-License-Identifier: Apache-2.0
#include "client/RequestFrame.h"

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/RemoteCall.h>

#include <cstring>

namespace cabinaudio {

Answer exchange(RemoteCall& rc, const LogSite& site, const void* request, std::uint32_t requestSize,
                void* reply, std::uint32_t replySize, bool flag) {
    std::uint8_t* req = nullptr;
    std::uint8_t* ret = nullptr;
    if (rc.rcalloc(&req, requestSize, &ret, replySize) != AUDIO_NO_ERROR)
        return {false, AUDIO_NO_MEMORY};

    std::memcpy(req, request, requestSize);
    std::memset(ret, 0, replySize);
    Answer answer{false, rc.call(req, requestSize, ret, replySize, flag)};
    if (answer.status == AUDIO_NO_ERROR) {
        answer.arrived = true;
        std::memcpy(&answer.status, ret, sizeof answer.status);
        std::memcpy(reply, ret, replySize);
    }
    if (rc.rcfree(req, ret) != AUDIO_NO_ERROR)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "rcfree error.\n");
    return answer;
}

}  // namespace cabinaudio
