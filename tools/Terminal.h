// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ExitCode.h"

#include <string>

namespace cabinaudio::tool {

/// Prints "cabinaudio: <text>" and a line end on stderr, with control characters escaped.
void complain(const std::string& text);

/// Prints lines on stdout unchanged, and flushes. Callers pass foreign text through
/// text::printable() first.
void say(const std::string& text);

/// @return why a part of what was printed is lost; empty if all was written, or if an earlier call
/// has returned the reason
[[nodiscard]] std::string newOutputFault();

/// The status of a program that ends with `code`: output that was lost is a failure. Prints the
/// reason on stderr unless newOutputFault() has returned it.
[[nodiscard]] ExitCode afterOutput(ExitCode code);

/// @return whether colour may be used on this descriptor: a terminal with colours, and no NO_COLOR
[[nodiscard]] bool mayColour(int descriptor);

/// A status line on stderr that is overwritten in place; disabled when stderr is not a terminal.
/// The destructor erases it.
class ProgressLine {
public:
    /// @param wanted  false disables it in any case
    explicit ProgressLine(bool wanted);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    [[nodiscard]] bool isShown() const { return mIsShown; }
    /// Columns currently available for a line.
    [[nodiscard]] static std::size_t width();

    /// Shows ASCII text, cut to the terminal's width.
    /// @param colour  escape sequence; used only where colour may be used
    void show(std::string text, const std::string& colour = "");
    void clear();

private:
    bool mIsShown;
    bool mMayColour;
    std::size_t mColumns = 0;  // currently on the screen
};

}  // namespace cabinaudio::tool
