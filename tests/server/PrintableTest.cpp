// SPDX-License-Identifier: Apache-2.0
//
// Foreign text as it is shown by the server, the tool, the launcher and the log's stand-in.
#include "devkit/text/Printable.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace cabinaudio::test {
namespace {

using text::columnsOf;
using text::printable;
using text::printableInQuotes;
using text::printableJson;

/// Whether a text has no control characters: no bytes of the first set, no characters of the
/// second.
bool isHarmless(const std::string& shown) {
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const auto byte = static_cast<unsigned char>(shown[i]);
        if (byte < 0x20 || byte == 0x7f) return false;
        const auto next = static_cast<unsigned char>(i + 1 < shown.size() ? shown[i + 1] : 0);
        if (byte == 0xc2 && next < 0xa0) return false;
    }
    return true;
}

TEST(PrintableText, KeepsCharactersOfAllLanguages) {
    for (const char* text :
         {"", "plain text ~ 1", "Gr\u00fc\u00dfe", "\u65e5\u672c\u8a9e", "\u0437\u0432\u0443\u043a",
          "e\u0301", "\U0001f3b5", "\u05e7\u05d5\u05dc", "\"quoted\" \\ text"})
        EXPECT_EQ(printable(text), text);
}

TEST(PrintableText, EscapesControlCharacters) {
    EXPECT_EQ(printable("\x1b]0;title\x07"), "\\x1b]0;title\\x07");
    EXPECT_EQ(printable("a\nb\rc\td\x7f"), "a\\nb\\rc\\td\\x7f");
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("a\xc2\x9b"
                        "2Jb\xc2\x85"),
              "a\\u009b2Jb\\u0085")
        << "of the second set";
    EXPECT_EQ(printable("a\u2028b\u202ec\u2066"), "a\\u2028b\\u202ec\\u2066");
}

TEST(PrintableText, EscapesBytesThatAreNoUtf8) {
    EXPECT_EQ(printable("\x9b"
                        "2J"),
              "\\x9b2J")
        << "a control character of 8-bit sets";
    EXPECT_EQ(printable("\xff\xfe"), "\\xff\\xfe");
    EXPECT_EQ(printable("\xe6\x97"), "\\xe6\\x97") << "cut off";
    EXPECT_EQ(printable("\xe6\x97z"), "\\xe6\\x97z") << "broken off";
    EXPECT_EQ(printable("\xc0\x9b"), "\\xc0\\x9b") << "longer than needed";
    EXPECT_EQ(printable("\xe0\x80\x9b"), "\\xe0\\x80\\x9b") << "longer than needed";
    EXPECT_EQ(printable("\xf0\x80\x82\x9b"), "\\xf0\\x80\\x82\\x9b") << "longer than needed";
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a pair";
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last one";
    EXPECT_EQ(printable("\xfb\xbf\xbf\xbf\xbf"), "\\xfb\\xbf\\xbf\\xbf\\xbf") << "five bytes";
}

TEST(PrintableText, HasNoControlCharactersForAnyTwoBytes) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const std::string text = {static_cast<char>(first), static_cast<char>(second)};
            const std::string shown = printable(text);
            ASSERT_TRUE(isHarmless(shown)) << first << " " << second;
            ASSERT_EQ(printable(shown), shown) << "a second time changes nothing";
        }
}

TEST(PrintableText, IsCutBetweenCharactersInASmallBuffer) {
    std::array<char, 7> buffer = {};
    const auto shown = [&](std::string_view text, std::size_t room) {
        return std::string(buffer.data(), printable(text, buffer.data(), room));
    };
    EXPECT_EQ(shown("abc", 7), "abc");
    EXPECT_EQ(shown("ab\x1b", 6), "ab\\x1b");
    EXPECT_EQ(shown("ab\x1b", 5), "ab");
    EXPECT_EQ(shown("\u65e5\u672c", 5), "\u65e5");
    EXPECT_EQ(shown("\u65e5\u672c", 6), "\u65e5\u672c");
    EXPECT_EQ(shown("abc", 0), "");
    EXPECT_EQ(buffer[6], '\0');
}

TEST(TextInQuotes, EscapesQuotes) {
    EXPECT_EQ(printableInQuotes("plain \u65e5"), "plain \u65e5");
    EXPECT_EQ(printableInQuotes("a\" plays \"b\\"), "a\\\" plays \\\"b\\\\");
    EXPECT_EQ(printableInQuotes("\x1b\"\n"), "\\x1b\\\"\\n");
}

TEST(JsonLine, KeepsItsMeaningWithoutControlCharacters) {
    EXPECT_EQ(printableJson(R"({"a\u001b\n": "\u00fc \\"})"), R"({"a\u001b\n": "\u00fc \\"})");
    EXPECT_EQ(printableJson("[\"a\x7f\xc2\x9b\u202e\u65e5\"]"),
              "[\"a\\u007f\\u009b\\u202e\u65e5\"]");
    EXPECT_EQ(printableJson("[1,\n2]\n"), "[1,\n2]\n");
}

TEST(TextColumns, MatchTheWidthOnATerminal) {
    EXPECT_EQ(columnsOf(""), 0U);
    EXPECT_EQ(columnsOf("abc"), 3U);
    EXPECT_EQ(columnsOf("\u00fc\u00df"), 2U);
    EXPECT_EQ(columnsOf("e\u0301"), 1U);
    EXPECT_EQ(columnsOf("\u65e5\u672c\u8a9e"), 6U);
}

}  // namespace
}  // namespace cabinaudio::test
