// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace cabinaudio::test {

/// Lines of text that a terminal only shows.
inline void expectNoControls(const std::string& text) {
    EXPECT_TRUE(std::none_of(text.begin(), text.end(), [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return (byte < 0x20 && byte != '\n') || byte == 0x7f;
    })) << text;
    // A control character of two bytes, and, of the names in these tests, one of one byte and the
    // end of a line.
    for (const char* obeyed : {"\xc2\x9b", "C\x9b", "E\n"})
        EXPECT_THAT(text, ::testing::Not(::testing::HasSubstr(obeyed)));
}

}  // namespace cabinaudio::test
