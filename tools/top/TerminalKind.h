// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::tool::top {

/// Whether the kind of terminal in TERM is known and can place its cursor. Curses would end the
/// process otherwise.
[[nodiscard]] bool canPlaceCursor();

}  // namespace cabinaudio::tool::top
