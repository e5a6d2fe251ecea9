// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <string_view>

namespace cabinaudio {

/// Reads text line by line. The last line needs no line feed; a line of 256 or more characters ends
/// the reading permanently.
class LineReader {
public:
    explicit LineReader(std::istream& in) : mIn(in) {}

    /// Advances to the next line. @return false when there is none
    bool next() { return static_cast<bool>(mIn.getline(mLine, sizeof(mLine))); }

    /// Whether the current line starts with `text`.
    [[nodiscard]] bool startsWith(std::string_view text) const {
        return std::string_view(mLine).substr(0, text.size()) == text;
    }

    /// Advances to the next line, which should be `key` and a value.
    /// @return the value, valid until the next line is read; null when the line is missing or has
    ///         another key
    [[nodiscard]] const char* nextValue(std::string_view key) {
        return next() && startsWith(key) ? mLine + key.size() : nullptr;
    }

private:
    std::istream& mIn;
    char mLine[256] = {};
};

}  // namespace cabinaudio
