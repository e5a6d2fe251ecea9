// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Printable.h"

#include <android/log.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace {

constexpr std::size_t MAXIMUM_MESSAGE = 4096;

std::atomic<int> minimum{ANDROID_LOG_DEFAULT};
std::atomic<__android_logger_function> logger{__android_log_stderr_logger};

bool isLoggable(int priority) {
    const int least = minimum.load(std::memory_order_relaxed);
    return priority >= (least == ANDROID_LOG_DEFAULT ? ANDROID_LOG_INFO : least);
}

char letterOf(int priority) {
    constexpr char LETTERS[] = "??VDIWEF";
    return priority >= 0 && priority <= ANDROID_LOG_FATAL ? LETTERS[priority] : '?';
}

void print(int priority, const char* tag, const char* format, std::va_list arguments) {
    char message[MAXIMUM_MESSAGE];
    std::vsnprintf(message, sizeof message, format, arguments);
    const __android_logger_data data = {sizeof data, -1, priority, tag, nullptr, 0};
    logger.load(std::memory_order_acquire)(&data, message);
}

}  // namespace

extern "C" {

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    if (!isLoggable(priority)) return -1;
    std::va_list arguments;
    va_start(arguments, format);
    print(priority, tag, format, arguments);
    va_end(arguments);
    return 1;
}

int __android_log_set_minimum_priority(int priority) {
    return minimum.exchange(priority, std::memory_order_relaxed);
}

void __android_log_set_logger(__android_logger_function function) {
    logger.store(function, std::memory_order_release);
}

void __android_log_stderr_logger(const struct __android_logger_data* data, const char* message) {
    const std::time_t now = std::time(nullptr);
    struct tm local = {};
    localtime_r(&now, &local);
    char time[32];
    std::strftime(time, sizeof time, "%m-%d %H:%M:%S", &local);
    // The message may contain names from other processes. A line end at its end belongs to the
    // line.
    std::string_view text(message);
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    char shown[MAXIMUM_MESSAGE];
    const auto length = static_cast<int>(cabinaudio::text::printable(text, shown, sizeof shown));
    std::fprintf(stderr, "%s %c %s %5d %5ld %.*s\n", data->tag != nullptr ? data->tag : "",
                 letterOf(data->priority), time, getpid(), syscall(SYS_gettid), length, shown);
}
}
