// SPDX-License-Identifier: Apache-2.0
#include "tools/play/ProgressText.h"

#include "tools/Duration.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::tool {

namespace {

constexpr std::size_t NARROWEST_BAR = 10;
constexpr std::size_t WIDEST_BAR = 40;

std::string bar(double part, std::size_t columns) {
    const auto full = static_cast<std::size_t>(
        std::lround(std::clamp(part, 0.0, 1.0) * static_cast<double>(columns)));
    return "[" + std::string(full, '=') + std::string(columns - full, ' ') + "] ";
}

}  // namespace

std::string progressText(const PlayReport& report, std::size_t width) {
    std::string text = clockText(report.playedMs() / 1000);
    if (report.durationMs) text += " / " + clockText(*report.durationMs / 1000);
    text += report.isWithdrawn ? "  source withdrawn"
                               : "  queued " + std::to_string(std::lround(report.queuedMs)) + " ms";
    constexpr std::size_t FRAME = 3;
    const std::size_t room = width > text.size() + FRAME ? width - text.size() - FRAME : 0;
    if (report.durationMs && room >= NARROWEST_BAR)
        text = bar(report.playedMs() / *report.durationMs, std::min(room, WIDEST_BAR)) + text;
    return text;
}

}  // namespace cabinaudio::tool
