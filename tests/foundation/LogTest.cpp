// SPDX-License-Identifier: Apache-2.0
#include "foundation/Log.h"
#include "tests/foundation/Child.h"
#include "tests/foundation/Worker.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <csignal>
#include <regex>
#include <string>

namespace cabinaudio::test {
namespace {

std::string padded(int line) {
    std::string digits = std::to_string(line);
    while (digits.size() < 4)
        digits.insert(0, "0");
    return digits;
}

struct Speaker {
    Speaker() { AUDIO_LOGI("up\n"); }
    ~Speaker() { AUDIO_LOGI("down\n"); }
};

TEST(LogLine, StartsWithFileFunctionAndLineInFourDigits) {
    const LogCapture log;
    const int line = __LINE__ + 1;
    AUDIO_LOGD("value %d\n", 5);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].text, "[LogTest][TestBody][" + padded(line) + "]value 5\n");
    EXPECT_EQ(log.lines()[0].tag, "AS");
}

TEST(LogLine, HasThePriorityOfItsMacro) {
    const LogCapture log;
    AUDIO_LOGD("d\n");
    AUDIO_LOGI("i\n");
    AUDIO_LOGW("w\n");
    AUDIO_LOGE("e\n");
    EXPECT_TRUE(logged(log, DEBUG, "d\n"));
    EXPECT_TRUE(logged(log, INFO, "i\n"));
    EXPECT_TRUE(logged(log, WARN, "w\n"));
    EXPECT_TRUE(logged(log, ERROR, "e\n"));
}

TEST(LogLine, HasNoLineEndWhenItsTextHasNone) {
    const LogCapture log;
    AUDIO_LOGD("close socket fd:%d", 3);
    EXPECT_TRUE(logged(log, DEBUG, "close socket fd:3"));
}

TEST(LogLine, NamesConstructorsAndDestructorsAfterTheClass) {
    const LogCapture log;
    { const Speaker speaker; }
    EXPECT_TRUE(logged(log, INFO, "LogTest", "Speaker", "up\n"));
    EXPECT_TRUE(logged(log, INFO, "LogTest", "~Speaker", "down\n"));
}

TEST(LogLine, OfASharedHelperNamesItsCaller) {
    const LogCapture log;
    const auto helper = [](const cabinaudio::LogSite& site) {
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "shared\n");
    };
    helper(AUDIO_LOG_SITE);
    EXPECT_TRUE(logged(log, WARN, "LogTest", "TestBody", "shared\n"));
}

TEST(LogLine, OfASharedHelperHasTheLineOfItsStatement) {
    const LogCapture log;
    int line = 0;
    const auto helper = [&line](const cabinaudio::LogSite& site) {
        line = __LINE__ + 1;
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "shared\n");
    };
    helper(AUDIO_LOG_SITE);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].text, "[LogTest][TestBody][" + padded(line) + "]shared\n");
}

TEST(IgnoredFailure, IsLoggedWithItsSourceText) {
    const LogCapture log;
    const int seven = 7;
    AUDIO_IGNORE(seven == 8);
    AUDIO_IGNORE(seven == 9);
    EXPECT_TRUE(logged(log, DEBUG, "LogTest", "TestBody", "AUDIO IGNORE(seven == 8)!\n"));
    EXPECT_TRUE(logged(log, DEBUG, "AUDIO IGNORE(seven == 9)!\n"));
}

TEST(IgnoreMacro, IsSilentWhenTheExpressionHolds) {
    const LogCapture log;
    int evaluated = 0;
    AUDIO_IGNORE(++evaluated == 1);
    EXPECT_EQ(evaluated, 1);
    EXPECT_TRUE(logIsEmpty(log));
}

TEST(AssertMacro, LogsABrokenInvariantAndEndsTheProcess) {
    const ChildEnd end = runInChild([] {
        const void* const opaque = nullptr;
        AUDIO_ASSERT(nullptr != opaque);
    });
    EXPECT_TRUE(end.killedBy(SIGABRT)) << end.status;
    EXPECT_NE(end.output.find("6 [LogTest][operator()]["), std::string::npos) << end.output;
    EXPECT_NE(end.output.find("]AUDIO ASSERT(nullptr != opaque)!\n"), std::string::npos)
        << end.output;
}

TEST(AssertMacro, IsSilentWhenTheInvariantHolds) {
    const LogCapture log;
    int evaluated = 0;
    AUDIO_ASSERT(++evaluated == 1);
    EXPECT_EQ(evaluated, 1);
    EXPECT_TRUE(logIsEmpty(log));
}

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

// Last in the file: it changes the line numbers of what follows.
TEST(LogLine, PadsShortLineNumbersAndKeepsLongOnes) {
    const LogCapture log;
#line 7
    AUDIO_LOGD("text\n");
#line 12345
    AUDIO_LOGD("text\n");
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].text, "[LogTest][TestBody][0007]text\n");
    EXPECT_EQ(log.lines()[1].text, "[LogTest][TestBody][12345]text\n");
}

}  // namespace
}  // namespace cabinaudio::test
