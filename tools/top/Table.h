// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/Cells.h"
#include "tools/top/Model.h"
#include "tools/top/Sorting.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cabinaudio::tool::top {

/// A column of the table of streams.
struct ColumnShape {
    Column column;
    const char* title;
    char key;           // sorts by this column; 0: none
    std::size_t width;  // at least
    std::size_t widest;
    bool isRight;
    int rank;  // columns of a higher rank are left out first
};

/// All columns, in the order of the enumeration.
[[nodiscard]] const std::vector<ColumnShape>& columnShapes();

/// The table's columns that fit into a width, with the widths that they get.
class Table {
public:
    /// @param streams  whose texts may widen their columns
    Table(std::size_t width, Glyphs glyphs, const std::vector<Stream>& streams);

    [[nodiscard]] Line heading(const Order& order) const;
    [[nodiscard]] Line row(const Stream& stream, bool isSelected) const;

private:
    void widen(std::size_t room, const std::vector<Stream>& streams);

    std::vector<ColumnShape> mColumns;
    Glyphs mGlyphs;
};

}  // namespace cabinaudio::tool::top
