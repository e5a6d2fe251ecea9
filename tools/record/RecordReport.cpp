// SPDX-License-Identifier: Apache-2.0
#include "tools/record/RecordReport.h"

#include "devkit/text/Printable.h"
#include "tools/Duration.h"
#include "tools/EndingJson.h"
#include "tools/Json.h"
#include "tools/Names.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace cabinaudio::tool {

namespace {

Json peakOf(const RecordReport& report) {
    return report.peak ? Json(roundedMs(decibels(*report.peak))) : Json(nullptr);
}

Json toJson(const RecordReport& report) {
    const bool isPcm = report.format.codec == RecordCodec::Pcm;
    Json json = {{"file", report.file},
                 {"name", report.name},
                 {"tag", tagText(report.tag)},
                 {"tag_number", static_cast<std::uint32_t>(report.tag)},
                 {"codec", codecName(report.format.codec)},
                 {"raw", report.raw},
                 {"sample_rate_hz", report.format.rate},
                 {"channels", report.format.channels},
                 {"bits_per_sample",
                  isPcm ? Json(static_cast<std::uint32_t>(report.format.depth)) : Json(nullptr)},
                 {"wanted_ms", orNull(report.wantedMs)},
                 {"recorded_ms", roundedMs(report.recordedMs)},
                 {"silent_ms", roundedMs(report.silentMs)},
                 {"skipped_ms", roundedMs(report.skippedMs)},
                 {"live_ms", roundedMs(report.recordedMs - report.silentMs)},
                 {"elapsed_ms", roundedMs(report.elapsedMs)},
                 {"bytes_recorded", report.bytesRecorded},
                 {"codec_frames", isPcm ? Json(nullptr) : Json(report.frames)},
                 {"peak_db", peakOf(report)},
                 {"per_loop_bytes", report.perLoopBytes},
                 {"ring_bytes", report.ringBytes},
                 {"read_timeouts", report.readTimeouts}};
    addEnding(json, report.ending, "recorded");
    return json;
}

std::string peakText(double peak) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f dB", decibels(peak));
    return text;
}

std::string details(const RecordReport& report) {
    std::string text;
    if (report.silentMs > 0) text += ", " + clockText(report.silentMs / 1000) + " of it silence";
    if (report.readTimeouts != 0)
        text += "; reads timed out: " + std::to_string(report.readTimeouts);
    if (report.peak) text += "; peak " + peakText(*report.peak);
    return text;
}

std::string successLine(const RecordReport& report) {
    return report.file + ": " + report.ending.text + ", " + clockText(report.recordedMs / 1000) +
           " of " + tagText(report.tag) + details(report);
}

std::string brokenLine(const RecordReport& report) {
    std::string line = report.file + ": " + report.ending.text;
    if (report.bytesRecorded == 0) return line;
    line += ", after " + clockText(report.recordedMs / 1000);
    if (report.wantedMs) line += " of " + clockText(*report.wantedMs / 1000);
    return line + details(report);
}

constexpr std::size_t NARROWEST_METER = 10;
constexpr std::size_t WIDEST_METER = 40;
constexpr double QUIETEST = -60;  // dB, an empty meter

std::string meter(double peak, std::size_t columns) {
    const double part = std::max(0.0, 1 - decibels(peak) / QUIETEST);
    const auto full = static_cast<std::size_t>(std::lround(part * static_cast<double>(columns)));
    return "[" + std::string(full, '=') + std::string(columns - full, ' ') + "]";
}

}  // namespace

std::string meterText(const RecordReport& report, Level level, std::size_t width) {
    std::string text = " " + clockText(report.recordedMs / 1000);
    if (report.wantedMs) text += " / " + clockText(*report.wantedMs / 1000);
    if (report.tag == AUDIO_TAG_UPLINK && report.ringBytes == 0) text += "  no ring";
    if (!level) return "recording" + text;
    char decibel[32];
    std::snprintf(decibel, sizeof decibel, " %6.1f dB ", decibels(*level));
    text = decibel + text;
    constexpr std::size_t FRAME = 2;
    const std::size_t room = width > text.size() + FRAME ? width - text.size() - FRAME : 0;
    return room < NARROWEST_METER ? text : meter(*level, std::min(room, WIDEST_METER)) + text;
}

const char* levelColour(Level level) {
    constexpr double ALMOST_CLIPPED = -1;
    constexpr double LOUD = -9;
    if (!level || decibels(*level) < LOUD) return "";
    return decibels(*level) < ALMOST_CLIPPED ? "\033[33m" : "\033[31m";
}

/// With the recording on standard output, nothing else may be printed there.
void printReport(const RecordReport& report, bool json) {
    if (json) printJson(toJson(report));
    if (report.ending.kind != StreamEnd::Done)
        complain(brokenLine(report));
    else if (!json && report.file != "standard output")
        say(text::printable(successLine(report)));
}

}  // namespace cabinaudio::tool
