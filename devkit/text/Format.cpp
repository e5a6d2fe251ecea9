// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Format.h"

#include "devkit/text/Printable.h"

#include <cstdarg>
#include <cstdio>

namespace cabinaudio::text {

std::string format(const char* text, ...) {
    char buffer[512];
    std::va_list arguments;
    va_start(arguments, text);
    std::vsnprintf(buffer, sizeof buffer, text, arguments);
    va_end(arguments);
    return buffer;
}

std::string inQuotes(std::string_view text) {
    return '"' + printableInQuotes(text) + '"';
}

}  // namespace cabinaudio::text
