// SPDX-License-Identifier: Apache-2.0
#include "tools/play/PlayReport.h"

#include "tools/Duration.h"
#include "tools/Names.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::tool {

namespace {

const char* endName(PlayEnd end) {
    switch (end) {
        case PlayEnd::Played:
            return "played";
        case PlayEnd::TimedOut:
            return "timed_out";
        case PlayEnd::Removed:
            return "removed";
        case PlayEnd::Interrupted:
            return "interrupted";
        case PlayEnd::NoServer:
            return "no_server";
        case PlayEnd::Refused:
            return "refused";
        case PlayEnd::Failed:
            break;
    }
    return "failed";
}

Json orNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

/// Milliseconds are given to the microsecond; more digits would be noise.
double rounded(double ms) {
    return std::round(ms * 1000) / 1000;
}

Json orNull(const std::optional<double>& ms) {
    return ms ? Json(rounded(*ms)) : Json(nullptr);
}

Json toJson(const PlayReport& report) {
    return {{"file", report.file},
            {"name", orNull(report.name)},
            {"tag", tagText(report.tag)},
            {"tag_number", static_cast<std::uint32_t>(report.tag)},
            {"block", report.block},
            {"sample_rate_hz", report.format.sampleRate},
            {"channels", report.channels},
            {"bits_per_sample", static_cast<std::uint32_t>(report.format.bitDepth)},
            {"duration_ms", orNull(report.durationMs)},
            {"played_ms", rounded(report.playedMs())},
            {"queued_ms", rounded(report.queuedMs)},
            {"elapsed_ms", rounded(report.elapsedMs)},
            {"finished_after_ms", orNull(report.finishedAfterMs)},
            {"bytes_written", report.bytesWritten},
            {"per_loop_bytes", report.perLoopBytes},
            {"ring_bytes", report.ringBytes},
            {"ring_timeouts", report.ringTimeouts},
            {"space_timeouts", report.spaceTimeouts},
            {"short_writes", report.shortWrites},
            {"ring_ran_empty", report.ringRanEmpty},
            {"ended", endName(report.end)},
            {"waited_for", orNull(report.waitedFor)},
            {"status", report.status},
            {"status_name", statusName(report.status)},
            {"text", report.text}};
}

std::string times(std::uint32_t count) {
    return count == 1 ? "once" : std::to_string(count) + " times";
}

std::string playedLine(const PlayReport& report) {
    std::string line = report.file + ": " + report.text + ", " +
                       clockText(report.playedMs() / 1000) + " on " + tagText(report.tag);
    const std::uint32_t timeouts = report.ringTimeouts + report.spaceTimeouts;
    if (timeouts != 0) line += "; writes timed out " + times(timeouts);
    if (report.ringRanEmpty != 0) line += "; the ring ran empty " + times(report.ringRanEmpty);
    return line;
}

std::string brokenLine(const PlayReport& report) {
    std::string line = report.file + ": " + report.text;
    if (report.bytesWritten != 0) {
        line += ", after " + clockText(report.playedMs() / 1000);
        if (report.durationMs) line += " of " + clockText(*report.durationMs / 1000);
    }
    return line;
}

}  // namespace

ExitCode exitCode(PlayEnd end) {
    switch (end) {
        case PlayEnd::Played:
            return ExitCode::Done;
        case PlayEnd::TimedOut:
            return ExitCode::TimedOut;
        case PlayEnd::NoServer:
            return ExitCode::NoServer;
        case PlayEnd::Removed:
        case PlayEnd::Interrupted:
        case PlayEnd::Refused:
        case PlayEnd::Failed:
            break;
    }
    return ExitCode::Failed;
}

void printReport(const PlayReport& report, bool json) {
    if (json) printJson(toJson(report));
    if (report.end != PlayEnd::Played)
        complain(brokenLine(report));
    else if (!json)
        say(playedLine(report));
}

}  // namespace cabinaudio::tool
