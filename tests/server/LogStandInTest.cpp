// SPDX-License-Identifier: Apache-2.0
//
// The log library that is built where there is none. It is compiled into this program and thus in
// front of the real one.
#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Line {
    std::size_t size;
    int priority;
    std::string tag;
    std::string text;
};
std::vector<Line> lines;

void keep(const struct __android_logger_data* data, const char* text) {
    lines.push_back({data->struct_size, data->priority, data->tag, text});
}

class LogStandIn : public ::testing::Test {
protected:
    void SetUp() override {
        lines.clear();
        __android_log_set_logger(keep);
        before = __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT);
    }
    void TearDown() override { __android_log_set_minimum_priority(before); }

    int before = 0;
};

TEST_F(LogStandIn, GivesMessagesToTheLogger) {
    EXPECT_EQ(__android_log_print(ANDROID_LOG_ERROR, "AS", "%s %d\n", "text", 7), 1);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].size, sizeof(struct __android_logger_data));
    EXPECT_EQ(lines[0].priority, 6);
    EXPECT_EQ(lines[0].tag, "AS");
    EXPECT_EQ(lines[0].text, "text 7\n");
}

TEST_F(LogStandIn, DropsDebugLinesByDefault) {
    EXPECT_LT(__android_log_print(ANDROID_LOG_DEBUG, "AS", "dropped"), 0);
    EXPECT_EQ(__android_log_print(ANDROID_LOG_INFO, "AS", "kept"), 1);
    EXPECT_EQ(__android_log_set_minimum_priority(ANDROID_LOG_VERBOSE), ANDROID_LOG_DEFAULT);
    EXPECT_EQ(__android_log_print(ANDROID_LOG_DEBUG, "AS", "kept too"), 1);
    EXPECT_EQ(__android_log_set_minimum_priority(ANDROID_LOG_SILENT), ANDROID_LOG_VERBOSE);
    EXPECT_LT(__android_log_print(ANDROID_LOG_FATAL, "AS", "dropped"), 0);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1].text, "kept too");
}

TEST_F(LogStandIn, CutsVeryLongMessages) {
    const std::string text(10000, 'x');
    EXPECT_EQ(__android_log_print(ANDROID_LOG_WARN, "AS", "%s", text.c_str()), 1);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, std::string(4095, 'x'));
}

TEST_F(LogStandIn, PrintsOneLineToStderr) {
    __android_log_set_logger(__android_log_stderr_logger);
    testing::internal::CaptureStderr();
    __android_log_print(ANDROID_LOG_WARN, "AS", "careful");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("AS W [0-9: -]+ +[0-9]+ +[0-9]+ careful\n"));
}

TEST_F(LogStandIn, PrintsControlCharactersEscaped) {
    __android_log_set_logger(__android_log_stderr_logger);
    testing::internal::CaptureStderr();
    __android_log_print(ANDROID_LOG_WARN, "AS", "stream %s is gone\n",
                        "\x1b]0;x\x07\n\x9b\xc2\x9b\xe6\x97\xa5");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith(" stream \\x1b]0;x\\x07\\n\\x9b\\u009b\xe6\x97\xa5 is gone\n"));
}

}  // namespace
