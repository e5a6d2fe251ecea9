// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "foundation/Log.h"

namespace cabinaudio {

/// Site of a ring's log lines. They name one file wherever the statement is: kept as is, part of
/// the interface.
inline LogSite ringSite(const char* function) {
    return {"ShareMemory", function};
}

/// AUDIO_IGNORE() of a condition with a fixed text in the log.
inline void ignoreUnless(bool holds, const char* function, const char* condition) {
    if (!holds)
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, ringSite(function), "AUDIO IGNORE(%s)!\n", condition);
}

}  // namespace cabinaudio
