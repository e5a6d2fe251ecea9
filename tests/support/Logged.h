// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

/// Expectations of a log, for EXPECT_TRUE: a failure shows the whole log.
namespace cabinaudio::test {

// Priorities of the log library.
inline constexpr int DEBUG = 3;
inline constexpr int INFO = 4;
inline constexpr int WARN = 5;
inline constexpr int ERROR = 6;

inline ::testing::AssertionResult isTimes(std::size_t found, std::size_t times,
                                          std::string_view message, const LogCapture& log) {
    if (found == times) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << found << " lines instead of " << times << " are \"" << message << "\" in\n"
           << log.dump();
}

/// Whether the log has this message so often, as LogCapture::count() counts.
[[nodiscard]] inline ::testing::AssertionResult logged(const LogCapture& log, int priority,
                                                       std::string_view message,
                                                       std::size_t times = 1) {
    return isTimes(log.count(priority, message), times, message, log);
}
/// As above, with the file and the function of the prefix.
[[nodiscard]] inline ::testing::AssertionResult logged(const LogCapture& log, int priority,
                                                       std::string_view file,
                                                       std::string_view function,
                                                       std::string_view message,
                                                       std::size_t times = 1) {
    return isTimes(log.count(priority, file, function, message), times, message, log);
}
/// Whether so many messages match, as LogCapture::countMatching() counts.
[[nodiscard]] inline ::testing::AssertionResult loggedLike(const LogCapture& log, int priority,
                                                           const std::string& expression,
                                                           std::size_t times = 1) {
    return isTimes(log.countMatching(priority, expression), times, expression, log);
}

[[nodiscard]] inline ::testing::AssertionResult logIsEmpty(const LogCapture& log) {
    return isTimes(log.lines().size(), 0, "anything", log);
}

}  // namespace cabinaudio::test
