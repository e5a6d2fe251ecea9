// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Report.h"

#include "devkit/hear/Error.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace cabinaudio::hear {
namespace {

using nlohmann::json;

StreamReport streamFrom(const json& entry) {
    StreamReport stream;
    stream.name = entry.at("name");
    stream.tag = entry.at("tag");
    stream.stem = entry.value("stem", "");
    stream.rate = entry.value("rate_hz", 0U);
    stream.channels = entry.value("channels", 0U);
    stream.underruns = entry.value("underruns", std::size_t{0});
    stream.finishes = entry.value("finishes", std::size_t{0});
    if (const auto frame = entry.find("started_at_frame");
        frame != entry.end() && frame->is_number_unsigned())
        stream.startedAtFrame = frame->get<std::size_t>();
    for (const json& segment : entry.at("segments")) {
        stream.segments.push_back(
            {segment.at("output_frame"), segment.at("stream_frame"), segment.at("frames")});
    }
    return stream;
}

Report reportFrom(const json& root) {
    Report report;
    report.isPresent = true;
    report.frames = root.at("output").at("frames");
    report.latePeriods = root.at("output").value("late_periods", std::size_t{0});
    for (const json& entry : root.at("streams"))
        report.streams.push_back(streamFrom(entry));
    for (const json& entry : root.value("changes", json::array()))
        report.changes.push_back({entry.at("frame"), entry.value("ms", 0.0), entry.at("what")});
    return report;
}

}  // namespace

Report readReport(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw Error(path + ": " + std::strerror(errno));
    try {
        return reportFrom(json::parse(file));
    } catch (const json::exception& error) {
        throw Error(path + ": not a report of the server: " + error.what());
    }
}

}  // namespace cabinaudio::hear
