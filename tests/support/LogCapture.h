// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace cabinaudio::test {

/// One line as the log library was given it.
struct LogLine {
    int priority;  // 3 debug, 4 info, 5 warning, 6 error
    std::string tag;
    std::string text;  // prefix, message and line end
};

/// Takes over the process's log for as long as it lives; one at a time. Debug lines included.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// All lines but the warnings that a frame came late: a slow machine adds those anywhere.
    [[nodiscard]] std::vector<LogLine> lines() const;
    [[nodiscard]] std::vector<LogLine> allLines() const;

    /// Lines of this priority whose part behind the "[file][function][line]" prefix is `message`
    /// to the letter, line end included.
    [[nodiscard]] std::size_t count(int priority, std::string_view message) const;
    /// As above, and the prefix names this file and function.
    [[nodiscard]] std::size_t count(int priority, std::string_view file, std::string_view function,
                                    std::string_view message) const;
    [[nodiscard]] bool has(int priority, std::string_view message) const {
        return count(priority, message) != 0;
    }
    /// Lines of this priority whose message matches the POSIX extended expression as a whole.
    [[nodiscard]] std::size_t countMatching(int priority, const std::string& expression) const;

    /// Waits until count() is at least `times`, for at most `bound`. @return whether it is
    [[nodiscard]] bool waitFor(int priority, std::string_view message, std::size_t times = 1,
                               std::chrono::milliseconds bound = std::chrono::seconds(20)) const;
    [[nodiscard]] bool waitForMatching(
        int priority, const std::string& expression, std::size_t times = 1,
        std::chrono::milliseconds bound = std::chrono::seconds(20)) const;

    /// Everything, for the message of a failing assertion.
    [[nodiscard]] std::string dump() const;

    void clear();

private:
    friend void captureLine(int priority, const char* tag, const char* text);

    template <typename Enough>
    bool waitUntil(Enough enough, std::chrono::milliseconds bound) const;

    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::vector<LogLine> mLines;
};

}  // namespace cabinaudio::test
