// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool::top {

/// How a piece of a line looks.
enum class Style { Plain, Bold, Dim, Heading, SortHeading, Selected, Good, Loud, Bad };

struct Span {
    std::string text;
    Style style = Style::Plain;
};
using Line = std::vector<Span>;

/// Characters that the terminal can show.
enum class Glyphs { Ascii, Utf8 };

/// The glyphs of the locale, whose character type must have been set.
[[nodiscard]] Glyphs glyphsOfLocale();

/// The printable text in exactly `width` columns: padded, or cut with a mark at its end. Characters
/// that the terminal cannot show become '?'.
[[nodiscard]] std::string fit(const std::string& text, std::size_t width, Glyphs glyphs,
                              bool isRight = false);

/// A level from -60 to 0 dB as a bar of `width` columns.
[[nodiscard]] std::string barOf(const std::optional<double>& db, std::size_t width, Glyphs glyphs);

/// Columns of a line.
[[nodiscard]] std::size_t columnsOf(const Line& line);

/// Cuts the line to `width` columns, of characters that the terminal can show.
void cut(Line& line, std::size_t width, Glyphs glyphs);

/// The line without styles and blanks at its end.
[[nodiscard]] std::string plainText(const Line& line);

}  // namespace cabinaudio::tool::top
