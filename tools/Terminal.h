// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// Prints "cabinaudio: <text>" and a line end on stderr. Control characters in it are escaped.
void complain(const std::string& text);

/// Prints lines on stdout as they stand, and flushes. Foreign text in them goes through
/// text::printable() before.
void say(const std::string& text);

/// @return whether colour may go to this descriptor: a terminal that knows it, and no NO_COLOR
[[nodiscard]] bool mayColour(int descriptor);

/// One line on stderr that is written over and over; nothing at all where stderr is no terminal.
/// Leaves no trace when it is destroyed.
class ProgressLine {
public:
    /// @param wanted  false: show nothing, whatever stderr is
    explicit ProgressLine(bool wanted);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    [[nodiscard]] bool isShown() const { return mIsShown; }
    /// Columns that a line may have now.
    [[nodiscard]] static std::size_t width();

    /// Shows ASCII text, cut to the terminal's width.
    /// @param colour  escape sequence; used only where colour is welcome
    void show(std::string text, const std::string& colour = "");
    void clear();

private:
    bool mIsShown;
    bool mMayColour;
    std::size_t mColumns = 0;  // on the screen
};

}  // namespace cabinaudio::tool
