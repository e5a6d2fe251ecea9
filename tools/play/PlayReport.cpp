// SPDX-License-Identifier: Apache-2.0
#include "tools/play/PlayReport.h"

#include "devkit/text/Printable.h"
#include "tools/Duration.h"
#include "tools/EndingJson.h"
#include "tools/Names.h"
#include "tools/Terminal.h"

namespace cabinaudio::tool {

namespace {

Json toJson(const PlayReport& report) {
    Json json = {{"file", report.file},
                 {"name", orNull(report.name)},
                 {"tag", tagText(report.tag)},
                 {"tag_number", static_cast<std::uint32_t>(report.tag)},
                 {"block", report.block},
                 {"sample_rate_hz", report.format.sampleRate},
                 {"channels", report.channels},
                 {"bits_per_sample", static_cast<std::uint32_t>(report.format.bitDepth)},
                 {"duration_ms", orNull(report.durationMs)},
                 {"missing_ms", orNull(report.missingMs)},
                 {"played_ms", roundedMs(report.playedMs())},
                 {"queued_ms", roundedMs(report.queuedMs)},
                 {"elapsed_ms", roundedMs(report.elapsedMs)},
                 {"finished_after_ms", orNull(report.finishedAfterMs)},
                 {"bytes_written", report.bytesWritten},
                 {"bytes_discarded", report.bytesDiscarded},
                 {"withdrawals", report.withdrawals},
                 {"per_loop_bytes", report.perLoopBytes},
                 {"ring_bytes", report.ringBytes},
                 {"ring_timeouts", report.ringTimeouts},
                 {"space_timeouts", report.spaceTimeouts},
                 {"short_writes", report.shortWrites},
                 {"ring_ran_empty", report.ringRanEmpty}};
    addEnding(json, report.ending, "played");
    return json;
}

std::string times(std::uint32_t count) {
    return count == 1 ? "once" : std::to_string(count) + " times";
}

std::string discardedText(const PlayReport& report) {
    if (report.withdrawals == 0) return "";
    return "; the source was withdrawn " + times(report.withdrawals) + ", " +
           std::to_string(report.bytesDiscarded) + " bytes were discarded";
}

std::string playedLine(const PlayReport& report) {
    std::string line = report.file + ": " + report.ending.text + ", " +
                       clockText(report.playedMs() / 1000) + " on " + tagText(report.tag);
    const std::uint32_t timeouts = report.ringTimeouts + report.spaceTimeouts;
    if (timeouts != 0) line += "; writes timed out " + times(timeouts);
    if (report.ringRanEmpty != 0) line += "; the ring ran empty " + times(report.ringRanEmpty);
    return line + discardedText(report);
}

std::string brokenLine(const PlayReport& report) {
    std::string line = report.file + ": " + report.ending.text;
    if (report.bytesWritten != 0) {
        line += ", after " + clockText(report.playedMs() / 1000);
        if (report.durationMs) line += " of " + clockText(*report.durationMs / 1000);
    }
    return line + discardedText(report);
}

}  // namespace

void printReport(const PlayReport& report, bool json) {
    if (json) printJson(toJson(report));
    if (report.ending.kind != StreamEnd::Done)
        complain(brokenLine(report));
    else if (!json)
        say(text::printable(playedLine(report)));
}

}  // namespace cabinaudio::tool
