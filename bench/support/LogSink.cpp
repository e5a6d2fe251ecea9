// SPDX-License-Identifier: Apache-2.0
#include "bench/support/LogSink.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace cabinaudio::bench {

namespace {

std::atomic<LogLines> gWhat{LogLines::Dropped};

}  // namespace

void setLogLines(LogLines what) {
    gWhat = what;
}

}  // namespace cabinaudio::bench

/// The executable's definition precedes the log library's, also for the library's calls.
extern "C" int __android_log_print(int /*priority*/, const char* /*tag*/, const char* format, ...) {
    using cabinaudio::bench::LogLines;
    if (cabinaudio::bench::gWhat.load(std::memory_order_relaxed) == LogLines::Dropped) return 0;
    char line[1024];  // the log library's own limit
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    return length;
}
