// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Makes foreign text (names, file names, log lines) safe to show: a terminal displays it and obeys
/// nothing in it. Stateless functions; any thread.
namespace cabinaudio::text {

/// The first character of a non-empty text: a UTF-8 character, or a byte that is part of none.
struct Front {
    std::size_t length;  // in bytes
    char32_t character;  // or the byte's value
    bool isCharacter;

    /// Whether it is shown unchanged: it neither controls a terminal, ends a line, nor changes the
    /// text direction.
    [[nodiscard]] bool isShown() const;
};
[[nodiscard]] Front frontOf(std::string_view text);

/// The text with all unsafe characters escaped as "\n", "\t", "\r", "\x1b" (a byte) or "\u009b" (a
/// character). Applying it twice changes nothing more.
[[nodiscard]] std::string printable(std::string_view text);

/// Like printable(), for use between double quotes: '"' and '\' also get a '\' before them.
[[nodiscard]] std::string printableInQuotes(std::string_view text);

/// Like printable(), into a buffer and without allocating. Text that does not fit is dropped.
/// @return the bytes in the buffer, which is not terminated
[[nodiscard]] std::size_t printable(std::string_view text, char* buffer, std::size_t room);

/// A JSON document on one line. Characters that JSON leaves unescaped but a terminal would obey get
/// JSON escapes, which loses nothing.
[[nodiscard]] std::string printableJson(std::string_view json);

/// Columns that a printable text takes on a terminal: 0 for combining accents, 2 for East Asian
/// wide characters.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

}  // namespace cabinaudio::text
