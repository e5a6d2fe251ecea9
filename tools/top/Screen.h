// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/Cells.h"
#include "tools/top/Layout.h"

#include <vector>

namespace cabinaudio::tool::top {

/// The whole terminal, from construction to destruction; then it is as it was. One object, and only
/// the thread that made it.
class Screen {
public:
    /// @throws Failure when standard input or output is no terminal that can do it
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    [[nodiscard]] static Size size();
    static void draw(const std::vector<Line>& lines);
    /// The next key, see Keys.h; NO_KEY when none was pressed.
    [[nodiscard]] static int readKey();
};

}  // namespace cabinaudio::tool::top
