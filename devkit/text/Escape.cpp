// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Escape.h"

#include "devkit/text/Printable.h"

#include <array>
#include <string_view>

namespace cabinaudio::text {

namespace {

constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";

/// Non-ASCII characters include letters, but also control characters for terminals.
bool isPlain(const Front& front) {
    constexpr std::string_view OTHERS = "._-+/:";
    const char32_t character = front.character;
    if (character >= 0x80) return front.isShown();
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z') ||
           OTHERS.find(static_cast<char>(character)) != std::string_view::npos;
}

int digitOf(char letter) {
    if (letter >= 'a' && letter <= 'f') letter = static_cast<char>(letter - 'a' + 'A');
    const std::size_t digit = HEX_DIGITS.find(letter);
    return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

}  // namespace

std::string escaped(const std::string& text) {
    std::string word;
    for (std::string_view rest = text; !rest.empty();) {
        const Front front = frontOf(rest);
        const std::string_view piece = rest.substr(0, front.length);
        rest.remove_prefix(front.length);
        if (isPlain(front)) {
            word += piece;
            continue;
        }
        for (const char letter : piece) {
            const auto byte = static_cast<unsigned char>(letter);
            word += {'%', HEX_DIGITS[byte / 16], HEX_DIGITS[byte % 16]};
        }
    }
    return word;
}

std::string unescaped(const std::string& word) {
    std::string text;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const bool mayBeCode = word[i] == '%' && i + 2 < word.size();
        const int high = mayBeCode ? digitOf(word[i + 1]) : -1;
        const int low = mayBeCode ? digitOf(word[i + 2]) : -1;
        if (high < 0 || low < 0) {
            text += word[i];
            continue;
        }
        text += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return text;
}

}  // namespace cabinaudio::text
