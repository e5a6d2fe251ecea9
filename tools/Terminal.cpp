// SPDX-License-Identifier: Apache-2.0
#include "tools/Terminal.h"

#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cabinaudio::tool {

void complain(const std::string& text) {
    text::flushOutput();
    std::fputs(("cabinaudio: " + text::printable(text) + "\n").c_str(), stderr);
}

void say(const std::string& text) {
    text::print(text + "\n");
}

std::string newOutputFault() {
    static std::atomic<bool> isTold{false};
    std::string fault = text::outputFault();
    if (fault.empty() || isTold.exchange(true)) return "";
    return fault;
}

ExitCode afterOutput(ExitCode code) {
    if (const std::string fault = newOutputFault(); !fault.empty()) complain(fault);
    return code == ExitCode::Done && text::outputIsLost() ? ExitCode::Failed : code;
}

bool mayColour(int descriptor) {
    const char* none = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    return isatty(descriptor) == 1 && (none == nullptr || *none == '\0') && terminal != nullptr &&
           std::strcmp(terminal, "dumb") != 0;
}

ProgressLine::ProgressLine(bool wanted)
    : mIsShown(wanted && isatty(STDERR_FILENO) == 1), mMayColour(mayColour(STDERR_FILENO)) {}

ProgressLine::~ProgressLine() {
    clear();
}

std::size_t ProgressLine::width() {
    struct winsize size = {};
    // The last column stays free: some terminals wrap once it is written.
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1) return size.ws_col - 1u;
    return 79;
}

void ProgressLine::show(std::string text, const std::string& colour) {
    if (!mIsShown) return;
    text.resize(std::min(text.size(), width()));
    const std::size_t columns = text.size();
    // Blanks instead of an escape sequence, because every terminal supports them.
    if (columns < mColumns) text.append(mColumns - columns, ' ');
    mColumns = columns;
    if (mMayColour && !colour.empty()) text = colour + text + "\033[0m";
    std::fputs(("\r" + text).c_str(), stderr);
}

void ProgressLine::clear() {
    if (!mIsShown || mColumns == 0) return;
    std::fputs(("\r" + std::string(mColumns, ' ') + "\r").c_str(), stderr);
    mColumns = 0;
}

}  // namespace cabinaudio::tool
