// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/base/LibraryLog.h"

#include "devkit/server/base/Log.h"

#include <android/log.h>

#include <cstring>

namespace cabinaudio::server {
namespace {

void print(int priority, const char* text) {
    // The line end belongs to the line; others are somebody's name.
    auto length = static_cast<int>(std::strlen(text));
    if (length > 0 && text[length - 1] == '\n') --length;
    if (priority >= ANDROID_LOG_ERROR) {
        log::warning("%.*s", length, text);
    } else {
        log::debug("%.*s", length, text);
    }
}

// The log library has changed what it hands to a logger between its releases.
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
