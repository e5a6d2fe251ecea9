// SPDX-License-Identifier: Apache-2.0
#include "tests/support/LogCapture.h"

#include <android/log.h>

#include <algorithm>
#include <atomic>
#include <regex>

namespace cabinaudio::test {

namespace {

std::atomic<LogCapture*> gCapture{nullptr};
std::mutex gCaptureLock;  // a line on its way keeps the capture alive

/// Start of the message behind "[file][function][line]", or the whole text without a prefix.
std::string_view messageOf(std::string_view text) {
    for (int i = 0; i < 3; ++i) {
        const std::size_t close = text.find(']');
        if (text.empty() || text.front() != '[' || close == std::string_view::npos) return text;
        text.remove_prefix(close + 1);
    }
    return text;
}

/// More than 3 ms from the server's send to the client's receive thread.
bool warnsOfALateFrame(const LogLine& line) {
    return line.priority == ANDROID_LOG_WARN &&
           messageOf(line.text).rfind("'S->C' overtime(", 0) == 0;
}

}  // namespace

void captureLine(int priority, const char* tag, const char* text) {
    const std::lock_guard hold(gCaptureLock);
    LogCapture* const capture = gCapture.load();
    if (capture == nullptr) return;
    const std::lock_guard lock(capture->mLock);
    capture->mLines.push_back({priority, tag != nullptr ? tag : "", text != nullptr ? text : ""});
    capture->mChanged.notify_all();
}

LogCapture::LogCapture() {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    {
        const std::lock_guard hold(gCaptureLock);
        gCapture = this;
    }
    __android_log_set_logger([](const struct __android_logger_data* data, const char* text) {
        captureLine(data->priority, data->tag, text);
    });
}

LogCapture::~LogCapture() {
    // Lines of threads that outlive the capture go nowhere.
    const std::lock_guard hold(gCaptureLock);
    gCapture = nullptr;
}

std::vector<LogLine> LogCapture::lines() const {
    std::vector<LogLine> lines = allLines();
    lines.erase(std::remove_if(lines.begin(), lines.end(), warnsOfALateFrame), lines.end());
    return lines;
}

std::vector<LogLine> LogCapture::allLines() const {
    const std::lock_guard lock(mLock);
    return mLines;
}

std::size_t LogCapture::count(int priority, std::string_view message) const {
    const std::lock_guard lock(mLock);
    return static_cast<std::size_t>(
        std::count_if(mLines.begin(), mLines.end(), [&](const LogLine& line) {
            return line.priority == priority && messageOf(line.text) == message;
        }));
}

std::size_t LogCapture::count(int priority, std::string_view file, std::string_view function,
                              std::string_view message) const {
    const std::string start = "[" + std::string(file) + "][" + std::string(function) + "][";
    const std::lock_guard lock(mLock);
    return static_cast<std::size_t>(
        std::count_if(mLines.begin(), mLines.end(), [&](const LogLine& line) {
            return line.priority == priority && line.text.rfind(start, 0) == 0 &&
                   messageOf(line.text) == message;
        }));
}

std::size_t LogCapture::countMatching(int priority, const std::string& expression) const {
    const std::regex pattern(expression, std::regex::extended);
    const std::lock_guard lock(mLock);
    return static_cast<std::size_t>(
        std::count_if(mLines.begin(), mLines.end(), [&](const LogLine& line) {
            return line.priority == priority &&
                   std::regex_match(std::string(messageOf(line.text)), pattern);
        }));
}

template <typename Enough>
bool LogCapture::waitUntil(Enough enough, std::chrono::milliseconds bound) const {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!enough()) {
        std::unique_lock lock(mLock);
        const std::size_t seen = mLines.size();
        // Short turns: a line may have come between the test and this lock.
        const auto turn =
            std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(50));
        mChanged.wait_until(lock, turn, [&] { return mLines.size() != seen; });
        lock.unlock();
        if (std::chrono::steady_clock::now() >= deadline) return enough();
    }
    return true;
}

bool LogCapture::waitFor(int priority, std::string_view message, std::size_t times,
                         std::chrono::milliseconds bound) const {
    return waitUntil([&] { return count(priority, message) >= times; }, bound);
}

bool LogCapture::waitForMatching(int priority, const std::string& expression, std::size_t times,
                                 std::chrono::milliseconds bound) const {
    return waitUntil([&] { return countMatching(priority, expression) >= times; }, bound);
}

std::string LogCapture::dump() const {
    std::string all;
    for (const LogLine& line : allLines()) {
        all += std::to_string(line.priority) + " " + line.text;
        if (all.back() != '\n') all += "<no line end>\n";
    }
    return all;
}

void LogCapture::clear() {
    const std::lock_guard lock(mLock);
    mLines.clear();
}

}  // namespace cabinaudio::test
