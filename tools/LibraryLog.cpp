// SPDX-License-Identifier: Apache-2.0
#include "tools/LibraryLog.h"

#include "devkit/text/Printable.h"
#include "tools/Failure.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string_view>

namespace cabinaudio::tool {

namespace {

// Set before the library is used. Atomic, because several threads log.
std::atomic<int> gFile{-1};
std::atomic<bool> gOnTerminal{false};
std::atomic<bool> gSilenced{false};

char priorityLetter(int priority) {
    constexpr char LETTERS[] = "??VDIWEF";
    return priority >= 2 && priority <= 7 ? LETTERS[priority] : '?';
}

std::string formatted(int priority, const char* tag, const char* message) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    struct tm local;
    localtime_r(&now.tv_sec, &local);
    char head[48];
    const std::size_t length = std::strftime(head, sizeof head, "%H:%M:%S", &local);
    std::string line(head, length);
    const std::string micros = std::to_string(1000000 + now.tv_usec);
    // The text may contain names from other processes. A line end at its end belongs to the line.
    std::string_view said(message != nullptr ? message : "");
    if (!said.empty() && said.back() == '\n') said.remove_suffix(1);
    line += "." + micros.substr(1, 3) + " " + priorityLetter(priority) + " " +
            text::printable(tag != nullptr ? tag : "-") + " " + text::printable(said) + "\n";
    return line;
}

/// One write per line, so that lines of threads and of child processes are not mixed.
void put(int descriptor, const std::string& line) {
    [[maybe_unused]] const ssize_t written = write(descriptor, line.data(), line.size());
}

void take(int priority, const char* tag, const char* text) {
    const int file = gFile;
    if (gSilenced || (file < 0 && !gOnTerminal)) return;
    const std::string line = formatted(priority, tag, text);
    if (file >= 0) put(file, line);
    if (gOnTerminal) put(STDERR_FILENO, line);
}

/// The signature of a logger differs between releases of the log library.
template <typename Function>
struct Logger;
template <typename Data>
struct Logger<void (*)(const Data*, const char*)> {
    static void log(const Data* data, const char* text) { take(data->priority, data->tag, text); }
};
template <typename Message>
struct Logger<void (*)(const Message*)> {
    static void log(const Message* message) {
        take(message->priority, message->tag, message->message);
    }
};

}  // namespace

void routeLibraryLog(const CommonOptions& options) {
    if (!options.logFile.empty()) {
        gFile = open(options.logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        if (gFile < 0)
            throw Failure("cannot open log file " + options.logFile + ": " + std::strerror(errno));
    }
    gOnTerminal = options.verbose;
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(&Logger<__android_logger_function>::log);
}

void logError(const std::string& text) {
    take(ANDROID_LOG_ERROR, "cabinaudio", text.c_str());
}

SilencedLibraryLog::SilencedLibraryLog() {
    gSilenced = true;
}
SilencedLibraryLog::~SilencedLibraryLog() {
    gSilenced = false;
}

}  // namespace cabinaudio::tool
