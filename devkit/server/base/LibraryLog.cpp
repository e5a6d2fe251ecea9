// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/LibraryLog.h"

#include "devkit/server/base/Log.h"

#include <android/log.h>

#include <cstring>

namespace cabinaudio::server {
namespace {

void print(int priority, const char* text) {
    // Drop the line's own end. Other line ends are part of a client's text and are escaped.
    auto length = static_cast<int>(std::strlen(text));
    if (length > 0 && text[length - 1] == '\n') --length;
    if (priority >= ANDROID_LOG_ERROR)
        log::warning("%.*s", length, text);
    else
        log::debug("%.*s", length, text);
}

/// The signature of a logger differs between releases of the log library.
template <typename Function>
struct Logger;

template <typename Data>
struct Logger<void (*)(const Data*, const char*)> {
    static void log(const Data* data, const char* text) { print(data->priority, text); }
};

template <typename Message>
struct Logger<void (*)(const Message*)> {
    static void log(const Message* message) { print(message->priority, message->message); }
};

}  // namespace

void captureLibraryLog() {
    __android_log_set_logger(&Logger<__android_logger_function>::log);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

}  // namespace cabinaudio::server
