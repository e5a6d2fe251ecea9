// SPDX-License-Identifier: Apache-2.0
#include "tools/Failure.h"
#include "tools/Terminal.h"
#include "tools/top/Keys.h"
#include "tools/top/Screen.h"
#include "tools/top/TerminalKind.h"

#include <curses.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace cabinaudio::tool::top {

namespace {

enum Pair : short { GOOD = 1, LOUD, BAD };

void startColours() {
    if (!mayColour(STDOUT_FILENO) || !has_colors() || start_color() != OK) return;
    use_default_colors();
    init_pair(GOOD, COLOR_GREEN, -1);
    init_pair(LOUD, COLOR_YELLOW, -1);
    init_pair(BAD, COLOR_RED, -1);
}

attr_t attributesOf(Style style) {
    switch (style) {
        case Style::Bold:
            return A_BOLD;
        case Style::Dim:
            return A_DIM;
        case Style::Heading:
            return A_REVERSE;
        case Style::SortHeading:
            return A_REVERSE | A_BOLD | A_UNDERLINE;
        case Style::Selected:
            return A_REVERSE;
        case Style::Good:
            return static_cast<attr_t>(COLOR_PAIR(GOOD));
        case Style::Loud:
            return static_cast<attr_t>(COLOR_PAIR(LOUD));
        case Style::Bad:
            return static_cast<attr_t>(COLOR_PAIR(BAD)) | A_BOLD;
        case Style::Plain:
            break;
    }
    return A_NORMAL;
}

}  // namespace

Screen::Screen() {
    const char* const kind = std::getenv("TERM");
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1)
        throw Failure("top needs a terminal; use --once or --json");
    if (kind == nullptr || *kind == '\0' || !canPlaceCursor())
        throw Failure("the terminal '" + std::string(kind != nullptr ? kind : "") +
                      "' cannot place its cursor; set TERM, or use --once or --json");
    initscr();
    cbreak();
    noecho();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(25);
    curs_set(0);
    startColours();
}

Screen::~Screen() {
    endwin();
    delscreen(set_term(nullptr));
}

Size Screen::size() {
    // The last column stays free: some terminals wrap once it is written.
    const int columns = std::max(1, getmaxx(stdscr) - 1);
    return {static_cast<std::size_t>(columns), static_cast<std::size_t>(getmaxy(stdscr))};
}

void Screen::draw(const std::vector<Line>& lines) {
    erase();
    int row = 0;
    for (const Line& line : lines) {
        move(row++, 0);
        for (const Span& span : line) {
            attrset(static_cast<int>(attributesOf(span.style)));
            addstr(span.text.c_str());
        }
    }
    attrset(A_NORMAL);
    refresh();
}

int Screen::readKey() {
    switch (const int key = getch()) {
        case ERR:
            return NO_KEY;
        case KEY_RESIZE:
            // The terminal has moved what it showed in its own way.
            clearok(stdscr, TRUE);
            return KEY_RESIZED;
        case KEY_UP:
            return KEY_ROW_UP;
        case KEY_DOWN:
            return KEY_ROW_DOWN;
        case KEY_HOME:
            return KEY_FIRST;
        case KEY_END:
            return KEY_LAST;
        default:
            return key;
    }
}

}  // namespace cabinaudio::tool::top
