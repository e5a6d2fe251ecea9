// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/Cells.h"
#include "tools/top/View.h"

#include <cstddef>
#include <vector>

namespace cabinaudio::tool::top {

struct Size {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

/// The whole screen: at most `rows` lines of at most `columns` columns. Scrolls the view to the
/// selected stream.
/// @param figures  whose streams are in the order of the screen
[[nodiscard]] std::vector<Line> screenOf(const Figures& figures, View& view, Size size,
                                         Glyphs glyphs);

/// One table for a file or a pipe: the head, and all streams.
[[nodiscard]] std::vector<Line> listOf(const Figures& figures, const View& view,
                                       std::size_t columns, Glyphs glyphs);

}  // namespace cabinaudio::tool::top
