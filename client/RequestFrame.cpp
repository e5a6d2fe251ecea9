// SPDX-License-Identifier: Apache-2.0
#include "client/RequestFrame.h"

namespace cabinaudio {

Answer answerOf(const Steps& steps, std::int32_t replied, const LogSite& site) {
    if (steps.allocated != AUDIO_NO_ERROR) return {false, AUDIO_NO_MEMORY};
    if (!steps.isFreed) AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "rcfree error.\n");
    if (steps.called != AUDIO_NO_ERROR) return {false, steps.called};
    return {true, replied};
}

}  // namespace cabinaudio
