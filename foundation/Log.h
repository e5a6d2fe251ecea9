// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/log.h>

#include <cstddef>
#include <cstdlib>

namespace cabinaudio {

/// Name of a source file without directory and extension, extracted at compile time.
struct SourceStem {
    char text[48] = {};

    consteval SourceStem(const char* path) {
        const char* name = path;
        for (const char* at = path; *at != '\0'; ++at)
            if (*at == '/') name = at + 1;
        for (std::size_t i = 0; name[i] != '\0' && name[i] != '.'; ++i)
            text[i] = name[i];
    }
};

/// One object per name, shared by all places that use it.
template <SourceStem NAME>
inline constexpr SourceStem STEM = NAME;

/// The operation that a log line belongs to. A helper that several operations share takes a
/// LogSite, so that its log lines name the operation; the line number is that of the log statement.
/// Create it with AUDIO_LOG_SITE.
struct LogSite {
    const char* file;
    const char* function;
};

}  // namespace cabinaudio

/// The LogSite of the enclosing function.
#define AUDIO_LOG_SITE \
    (::cabinaudio::LogSite{::cabinaudio::STEM<::cabinaudio::SourceStem(__FILE__)>.text, __func__})

/// Writes one line for a site. The format is a literal and includes the line feed, if any.
#define AUDIO_LOG_AT(priority, site, format, ...)                                      \
    ((void)__android_log_print((priority), "AS", "[%s][%s][%04u]" format, (site).file, \
                               (site).function,                                        \
                               static_cast<unsigned>(__LINE__) __VA_OPT__(, ) __VA_ARGS__))

#define AUDIO_LOG(priority, format, ...)                                         \
    do {                                                                         \
        const ::cabinaudio::LogSite audioLogSite = AUDIO_LOG_SITE;               \
        AUDIO_LOG_AT(priority, audioLogSite, format __VA_OPT__(, ) __VA_ARGS__); \
    } while (false)

#define AUDIO_LOGD(...) AUDIO_LOG(ANDROID_LOG_DEBUG, __VA_ARGS__)
#define AUDIO_LOGI(...) AUDIO_LOG(ANDROID_LOG_INFO, __VA_ARGS__)
#define AUDIO_LOGW(...) AUDIO_LOG(ANDROID_LOG_WARN, __VA_ARGS__)
#define AUDIO_LOGE(...) AUDIO_LOG(ANDROID_LOG_ERROR, __VA_ARGS__)

/// Logs a condition that should hold but does not, and continues.
#define AUDIO_IGNORE(expression)                                           \
    do {                                                                   \
        if (!(expression)) AUDIO_LOGD("AUDIO IGNORE(%s)!\n", #expression); \
    } while (false)

/// Logs a broken invariant and ends the process.
#define AUDIO_ASSERT(expression)                            \
    do {                                                    \
        if (!(expression)) {                                \
            AUDIO_LOGE("AUDIO ASSERT(%s)!\n", #expression); \
            std::abort();                                   \
        }                                                   \
    } while (false)
