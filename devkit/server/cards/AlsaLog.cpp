// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/AlsaLog.h"

#include "devkit/server/base/Log.h"

#include <alsa/asoundlib.h>

#include <cstdarg>
#include <cstdio>

namespace cabinaudio::server {
namespace {

/// Debug only: errors that matter are also return values.
void logAlsa(const char*, int, const char* function, int error, const char* text, ...) {
    char message[256];
    std::va_list arguments;
    va_start(arguments, text);
    std::vsnprintf(message, sizeof message, text, arguments);
    va_end(arguments);
    log::debug("alsa: %s: %s%s%s", function, message, error != 0 ? ": " : "",
               error != 0 ? snd_strerror(error) : "");
}

}  // namespace

void captureAlsaLog() {
    snd_lib_error_set_handler(logAlsa);
}

}  // namespace cabinaudio::server
