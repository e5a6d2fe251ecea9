// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/Log.h"

#include "devkit/text/Printable.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace cabinaudio::server::log {
namespace {

std::atomic<Level> maximum{Level::Info};

/// One write per line, so that lines of two threads never mix.
void print(Level level, const char* format, std::va_list arguments) {
    if (level > maximum.load(std::memory_order_relaxed)) return;
    char message[1024];
    const int length = std::vsnprintf(message, sizeof message, format, arguments);
    if (length < 0) return;
    const std::size_t said = std::min(static_cast<std::size_t>(length), sizeof message - 1);
    char line[1024] = "cabinaudio-server: ";
    constexpr std::size_t PREFIX_LENGTH = sizeof "cabinaudio-server: " - 1;
    // The text may hold names of clients and files, and texts of other libraries.
    const std::size_t end = PREFIX_LENGTH + text::printable({message, said}, line + PREFIX_LENGTH,
                                                            sizeof line - PREFIX_LENGTH - 1);
    line[end] = '\n';
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, end + 1);
}

}  // namespace

void setLevel(Level level) {
    maximum.store(level, std::memory_order_relaxed);
}

void error(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    print(Level::Error, format, arguments);
    va_end(arguments);
}

void warning(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    print(Level::Warning, format, arguments);
    va_end(arguments);
}

void info(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    print(Level::Info, format, arguments);
    va_end(arguments);
}

void debug(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    print(Level::Debug, format, arguments);
    va_end(arguments);
}

}  // namespace cabinaudio::server::log
