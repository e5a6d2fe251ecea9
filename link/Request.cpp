// SPDX-License-Identifier: Apache-2.0
#include "link/Request.h"

namespace cabinaudio {

template Answer requestBlocks(RemoteCall& rc, std::uint32_t requestSize, std::uint32_t replySize,
                              bool flag, const FillRef& fill, const ConcludeRef& conclude);

void logUnfreed(const Answer& answer, const LogSite& site) {
    if (!answer.isFreed) AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "rcfree error.\n");
}

}  // namespace cabinaudio
