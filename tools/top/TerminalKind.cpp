// SPDX-License-Identifier: Apache-2.0
// The only file that includes term.h, which has macros for everything.
#include "tools/top/TerminalKind.h"

#include <curses.h>
#include <term.h>
#include <unistd.h>

namespace cabinaudio::tool::top {

bool canPlaceCursor() {
    int error = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &error) != OK) return false;
    const char* const move = tigetstr("cup");
    const bool isKnown = move != nullptr && move != reinterpret_cast<const char*>(-1);
    del_curterm(cur_term);
    return isKnown;
}

}  // namespace cabinaudio::tool::top
