// SPDX-License-Identifier: Apache-2.0
// For builds without curses.
#include "tools/Failure.h"
#include "tools/top/Keys.h"
#include "tools/top/Screen.h"

namespace cabinaudio::tool::top {

Screen::Screen() {
    throw Failure("this program was built without ncurses; use --once or --json");
}

Screen::~Screen() = default;

Size Screen::size() {
    return {};
}

void Screen::draw(const std::vector<Line>&) {}

int Screen::readKey() {
    return NO_KEY;
}

}  // namespace cabinaudio::tool::top
