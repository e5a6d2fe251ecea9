// SPDX-License-Identifier: Apache-2.0
#include "tools/listen/ListenReport.h"

#include "devkit/text/Printable.h"
#include "tools/Duration.h"
#include "tools/Json.h"
#include "tools/Terminal.h"
#include "tools/settings/Value.h"

#include <cstdio>

namespace cabinaudio::tool {

namespace {

std::string fileName(const ListenOptions& options) {
    return options.file == "-" ? "standard output" : options.file;
}

const char* loudspeakerName(const ListenOptions& options) {
    return LOUDSPEAKERS[static_cast<std::size_t>(*options.loudspeaker)];
}

/// "stream 'radio' in loudspeaker LF"
std::string subjectOf(const ListenOptions& options) {
    std::string text = options.stream.empty() ? "the mix" : "stream '" + options.stream + "'";
    if (options.loudspeaker) text += std::string(" in loudspeaker ") + loudspeakerName(options);
    return text;
}

std::string endLine(const ListenReport& report, const ListenOptions& options) {
    std::string line = fileName(options) + ": " + report.ending.text;
    if (report.frames == 0) return line + "; nothing was played";
    line += ", " + clockText(secondsOf(report.frames, report.format)) + " of " + subjectOf(options);
    if (!report.peak || *report.peak == 0) return line + ", all of it silent";
    char peak[32];
    std::snprintf(peak, sizeof peak, "; peak %.1f dB", decibels(*report.peak));
    return line + peak;
}

Json toJson(const ListenReport& report, const ListenOptions& options) {
    const RecordFormat& format = report.format;
    const bool isSilent = !report.peak || *report.peak == 0;
    const bool isDone = report.ending.kind == StreamEnd::Done;
    Json json = {
        {"file", fileName(options)},
        {"stream", orNull(options.stream)},
        {"loudspeaker", options.loudspeaker ? Json(*options.loudspeaker) : Json(nullptr)},
        {"loudspeaker_name", options.loudspeaker ? Json(loudspeakerName(options)) : Json(nullptr)},
        {"sample_rate_hz", format.rate},
        {"channels", format.channels},
        {"bits_per_sample", static_cast<std::uint32_t>(format.depth)},
        {"frames", report.frames},
        {"recorded_ms", roundedMs(1000 * secondsOf(report.frames, format))},
        {"lost_frames", report.lostFrames},
        {"peak_db", isSilent ? Json(nullptr) : Json(roundedMs(decibels(*report.peak)))},
        {"ended", endName(report.ending.kind, "heard")},
        {"text", report.ending.text}};
    addEnd(json, exitCode(report.ending.kind), isDone ? "" : endLine(report, options));
    return json;
}

}  // namespace

double secondsOf(std::uint64_t frames, const RecordFormat& format) {
    return static_cast<double>(frames) / format.rate;
}

/// With the sound on standard output, nothing else may be printed there.
void printReport(const ListenReport& report, const ListenOptions& options, bool json) {
    if (json) printJson(toJson(report, options));
    if (report.lostFrames != 0)
        complain(fileName(options) + " was too slow: " + std::to_string(report.lostFrames) +
                 " frames did not fit into the server's buffer and are silent");
    if (report.ending.kind != StreamEnd::Done)
        complain(endLine(report, options));
    else if (!json && options.file != "-")
        say(text::printable(endLine(report, options)));
}

}  // namespace cabinaudio::tool
