// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Cells.h"

#include "devkit/text/Printable.h"

#include <langinfo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace cabinaudio::tool::top {

namespace {

constexpr double QUIETEST_DB = -60;

/// The text with all characters that the terminal can show.
std::string shownOf(const std::string& text, Glyphs glyphs) {
    if (glyphs == Glyphs::Utf8) return text;
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = text::frontOf(std::string_view(text).substr(i)).length;
        shown += length == 1 ? text[i] : '?';
        i += length;
    }
    return shown;
}

/// The longest front of the text that fits.
std::string frontOf(const std::string& text, std::size_t width) {
    std::size_t length = 0;
    while (length < text.size()) {
        const std::size_t next =
            length + text::frontOf(std::string_view(text).substr(length)).length;
        if (text::columnsOf(std::string_view(text).substr(0, next)) > width) break;
        length = next;
    }
    return text.substr(0, length);
}

}  // namespace

Glyphs glyphsOfLocale() {
    return std::string_view(nl_langinfo(CODESET)) == "UTF-8" ? Glyphs::Utf8 : Glyphs::Ascii;
}

std::string fit(const std::string& text, std::size_t width, Glyphs glyphs, bool isRight) {
    std::string shown = shownOf(text, glyphs);
    if (text::columnsOf(shown) > width) {
        if (width == 0) return "";
        shown = frontOf(shown, width - 1) + (glyphs == Glyphs::Utf8 ? "…" : "~");
    }
    const std::string blanks(width - std::min(width, text::columnsOf(shown)), ' ');
    return isRight ? blanks + shown : shown + blanks;
}

std::string barOf(const std::optional<double>& db, std::size_t width, Glyphs glyphs) {
    constexpr std::array EIGHTHS = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    constexpr std::size_t PARTS = EIGHTHS.size();
    const double part = std::clamp(1 - db.value_or(QUIETEST_DB) / QUIETEST_DB, 0.0, 1.0);
    const auto eighths =
        static_cast<std::size_t>(std::lround(part * static_cast<double>(width * PARTS)));
    std::string bar;
    const bool isAscii = glyphs == Glyphs::Ascii;
    for (std::size_t i = 0; i < eighths / PARTS; ++i)
        bar += isAscii ? "=" : "█";
    std::size_t used = eighths / PARTS;
    if (!isAscii && eighths % PARTS != 0) {
        bar += EIGHTHS[eighths % PARTS];
        ++used;
    }
    for (; used < width; ++used)
        bar += isAscii ? "." : "·";
    return bar;
}

std::size_t columnsOf(const Line& line) {
    std::size_t columns = 0;
    for (const Span& span : line)
        columns += text::columnsOf(span.text);
    return columns;
}

void cut(Line& line, std::size_t width, Glyphs glyphs) {
    std::size_t used = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        line[i].text = shownOf(line[i].text, glyphs);
        const std::size_t columns = text::columnsOf(line[i].text);
        if (used + columns > width) {
            line[i].text = fit(line[i].text, width - used, glyphs);
            line.resize(i + 1);
            return;
        }
        used += columns;
    }
}

std::string plainText(const Line& line) {
    std::string text;
    for (const Span& span : line)
        text += span.text;
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

}  // namespace cabinaudio::tool::top
