// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "foundation/Log.h"

namespace cabinaudio {

/// Site of a ring's log lines. All of them name the same file, wherever the statement is. Kept as
/// is: part of the interface.
inline LogSite ringSite(const char* function) {
    return {"ShareMemory", function};
}

/// AUDIO_IGNORE() with a fixed text for the condition.
inline void ignoreUnless(bool holds, const char* function, const char* condition) {
    if (!holds)
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, ringSite(function), "AUDIO IGNORE(%s)!\n", condition);
}

}  // namespace cabinaudio
