// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Printable.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace cabinaudio::text {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

template <std::size_t COUNT>
bool isIn(const std::array<Range, COUNT>& ranges, char32_t character) {
    return std::any_of(ranges.begin(), ranges.end(), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

// Control characters of both sets, ends of lines and paragraphs, embeddings and isolates.
constexpr std::array NOT_SHOWN = {Range{0x00, 0x1f}, Range{0x7f, 0x9f}, Range{0x2028, 0x202e},
                                  Range{0x2066, 0x2069}};

constexpr std::array WITHOUT_WIDTH = {
    Range{0x300, 0x36f},   Range{0x1ab0, 0x1aff}, Range{0x200b, 0x200f}, Range{0x20d0, 0x20ff},
    Range{0x3099, 0x309a}, Range{0xfe00, 0xfe0f}, Range{0xfe20, 0xfe2f}, Range{0xfeff, 0xfeff}};

constexpr std::array WIDE = {
    Range{0x1100, 0x115f},   Range{0x2e80, 0x303e},   Range{0x3041, 0xa4cf},  Range{0xac00, 0xd7a3},
    Range{0xf900, 0xfaff},   Range{0xfe30, 0xfe6f},   Range{0xff01, 0xff60},  Range{0xffe0, 0xffe6},
    Range{0x1f300, 0x1f64f}, Range{0x1f900, 0x1f9ff}, Range{0x20000, 0x3fffd}};

constexpr std::size_t LONGEST_CHARACTER = 4;
// The smallest character for each encoded length of 1 to 4 bytes.
constexpr std::array<char32_t, LONGEST_CHARACTER> SMALLEST = {0, 0x80, 0x800, 0x10000};

/// Length by the first byte; 0 for a byte that cannot start a character.
std::size_t lengthOf(unsigned char first) {
    if (first < 0x80) return 1;
    if (first < 0xc0) return 0;
    if (first < 0xe0) return 2;
    if (first < 0xf0) return 3;
    return first < 0xf8 ? 4 : 0;
}

bool isUnicode(char32_t character, std::size_t length) {
    const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
    return character >= SMALLEST[length - 1] && character <= 0x10ffff && !isSurrogate;
}

/// How a character is written: unchanged, or escaped.
struct Written {
    std::array<char, 6> text;
    std::size_t length;
};

/// A backslash, a letter, and the character in `digits` hex digits.
Written escaped(char letter, std::size_t digits, char32_t character) {
    constexpr char DIGITS[] = "0123456789abcdef";
    Written written = {{'\\', letter}, 2 + digits};
    for (std::size_t i = 0; i < digits; ++i)
        written.text[2 + i] = DIGITS[character >> (4 * (digits - 1 - i)) & 15];
    return written;
}

Written escaped(const Front& front) {
    switch (front.character) {
        case '\n':
            return escaped('n', 0, 0);
        case '\r':
            return escaped('r', 0, 0);
        case '\t':
            return escaped('t', 0, 0);
        default:
            break;
    }
    const bool isByte = !front.isCharacter || front.character < 0x80;
    return isByte ? escaped('x', 2, front.character) : escaped('u', 4, front.character);
}

Written written(const Front& front, std::string_view text) {
    if (!front.isShown()) return escaped(front);
    Written plain = {};
    std::memcpy(plain.text.data(), text.data(), front.length);
    plain.length = front.length;
    return plain;
}

}  // namespace

bool Front::isShown() const {
    return isCharacter && !isIn(NOT_SHOWN, character);
}

Front frontOf(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const Front byte = {1, first, false};
    const std::size_t length = lengthOf(first);
    if (length == 1) return {1, first, true};
    if (length == 0 || length > text.size()) return byte;
    char32_t character = first & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0) != 0x80) return byte;
        character = character << 6 | (next & 0x3f);
    }
    return isUnicode(character, length) ? Front{length, character, true} : byte;
}

std::size_t printable(std::string_view text, char* buffer, std::size_t room) {
    std::size_t used = 0;
    while (!text.empty()) {
        const Front front = frontOf(text);
        const Written piece = written(front, text);
        if (piece.length > room - used) break;
        std::memcpy(buffer + used, piece.text.data(), piece.length);
        used += piece.length;
        text.remove_prefix(front.length);
    }
    return used;
}

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Front front = frontOf(text);
        const Written piece = written(front, text);
        result.append(piece.text.data(), piece.length);
        text.remove_prefix(front.length);
    }
    return result;
}

std::string printableInQuotes(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find_first_of("\"\\"), text.size());
        result += printable(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;
        result += {'\\', text.front()};
        text.remove_prefix(1);
    }
    return result;
}

std::string printableJson(std::string_view json) {
    std::string result;
    result.reserve(json.size());
    while (!json.empty()) {
        const Front front = frontOf(json);
        // JSON already escapes the first 32; all others fit four digits.
        if (front.isCharacter && !front.isShown() && front.character >= 0x20) {
            const Written piece = escaped('u', 4, front.character);
            result.append(piece.text.data(), piece.length);
        } else {
            result.append(json.substr(0, front.length));
        }
        json.remove_prefix(front.length);
    }
    return result;
}

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const Front front = frontOf(text);
        if (isIn(WIDE, front.character))
            columns += 2;
        else if (!isIn(WITHOUT_WIDTH, front.character))
            ++columns;
        text.remove_prefix(front.length);
    }
    return columns;
}

}  // namespace cabinaudio::text
