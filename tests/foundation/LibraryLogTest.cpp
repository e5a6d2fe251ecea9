// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioThread.h>

#include "tests/foundation/Worker.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <regex>

namespace cabinaudio::test {
namespace {

/// A line that the library itself has written; the tests' own macros prove nothing about it.
TEST(LibraryLogLine, HasTheTagAndThePrefixOfTheInterface) {
    const LogCapture log;
    Worker worker("twice");
    worker.start();
    worker.start();
    worker.end();
    const auto lines = log.lines();
    ASSERT_FALSE(lines.empty());
    for (const LogLine& line : lines)
        EXPECT_EQ(line.tag, "AS") << line.text;
    EXPECT_TRUE(std::regex_match(
        lines.back().text,
        std::regex("\\[AudioThread\\]\\[start\\]\\[0[0-9]{3}\\]Thread\\(AS-twice\\) has been run "
                   "already\\.\n")))
        << lines.back().text;
}

}  // namespace
}  // namespace cabinaudio::test
