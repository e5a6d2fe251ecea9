// SPDX-License-Identifier: Apache-2.0
#pragma once

// Replacement for foundation/Log.h in cppcheck runs: cppcheck reports that header's constants of
// class type and __VA_OPT__ as syntax errors. The log macros map to printf, so that cppcheck checks
// formats against arguments.

#include <android/log.h>

#include <cstdio>
#include <cstdlib>

namespace cabinaudio {

struct LogSite {
    const char* file;
    const char* function;
};

}  // namespace cabinaudio

#define AUDIO_LOG_SITE (::cabinaudio::LogSite{__FILE__, __func__})
#define AUDIO_LOG_AT(priority, site, ...) ((void)(priority), (void)(site), std::printf(__VA_ARGS__))
#define AUDIO_LOG(priority, ...) std::printf(__VA_ARGS__)
#define AUDIO_LOGD(...) std::printf(__VA_ARGS__)
#define AUDIO_LOGI(...) std::printf(__VA_ARGS__)
#define AUDIO_LOGW(...) std::printf(__VA_ARGS__)
#define AUDIO_LOGE(...) std::printf(__VA_ARGS__)
#define AUDIO_IGNORE(expression) ((void)(expression))
#define AUDIO_ASSERT(expression)         \
    do {                                 \
        if (!(expression)) std::abort(); \
    } while (false)
