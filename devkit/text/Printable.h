// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text that comes from elsewhere (names, file names, lines of a log), made fit to be shown: a
/// terminal shows it and obeys nothing in it. Functions without state; any thread.
namespace cabinaudio::text {

/// The front of a text that is not empty: one character in UTF-8, or one byte that is part of none.
struct Front {
    std::size_t length;  // in bytes
    char32_t character;  // or the byte
    bool isCharacter;

    /// Whether it is shown as it stands: a character that neither controls a terminal nor ends a
    /// line nor turns the direction of the text around it.
    [[nodiscard]] bool isShown() const;
};
[[nodiscard]] Front frontOf(std::string_view text);

/// The text with everything in it that is not shown written as "\n", "\t", "\r", "\x1b" (a byte) or
/// "\u009b" (a character). What has been through it once stays as it is.
[[nodiscard]] std::string printable(std::string_view text);

/// As printable(), to be put between double quotes: '"' and '\' get a '\' in front of them.
[[nodiscard]] std::string printableInQuotes(std::string_view text);

/// As printable(), into a buffer and without memory of its own. What has no room is left out.
/// @return the bytes in the buffer, which gets no terminator
[[nodiscard]] std::size_t printable(std::string_view text, char* buffer, std::size_t room);

/// A JSON document on one line, with the characters that JSON need not escape and a terminal would
/// obey escaped its own way, which loses nothing.
[[nodiscard]] std::string printableJson(std::string_view json);

/// The columns that a printable text takes on a terminal: none for accents that stand for
/// themselves, two for East Asian characters.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

}  // namespace cabinaudio::text
