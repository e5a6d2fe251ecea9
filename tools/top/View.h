// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/Model.h"
#include "tools/top/Sorting.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace cabinaudio::tool::top {

/// The user's choices, and what the screen tells besides the figures.
struct View {
    Order order;
    std::optional<Stream> selected;  // the stream, as it was seen last
    std::size_t scroll = 0;          // rows above the screen
    bool isHelpShown = false;
    std::string message;                     // about the last command
    std::map<std::string, double> silenced;  // previous volume of settings that were muted here

    std::string time;        // "19:01:02"
    std::string waitingFor;  // why there are no figures; empty: there are
};

/// The selected stream's place in the list; the first if it is gone.
[[nodiscard]] std::size_t selectedRow(const View& view, const std::vector<Stream>& streams);

}  // namespace cabinaudio::tool::top
