// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/Model.h"

#include <vector>

namespace cabinaudio::tool::top {

/// The columns of the table of streams, in their order on the screen.
enum class Column {
    Name,
    Pid,
    Program,
    Tag,
    Type,
    State,
    Format,
    Volume,
    Level,
    Bar,
    Queue,
    Lapses,
    Latency,
    LoweredBy,
};

struct Order {
    Column column = Column::Name;
    bool isReversed = false;
};

/// Texts ascend, numbers descend: the loudest and the worst come first. Equal ones keep their
/// order.
void sort(std::vector<Stream>& streams, const Order& order);

}  // namespace cabinaudio::tool::top
