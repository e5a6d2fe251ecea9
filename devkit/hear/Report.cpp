// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Report.h"

#include "devkit/hear/Error.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>

namespace cabinaudio::hear {
namespace {

using nlohmann::json;

// So that frames, and times in frames, can be added.
constexpr std::size_t MOST_FRAMES = SIZE_MAX / 4;

/// A number of frames. A fraction, a negative or a larger number would become another one when it
/// is converted.
std::size_t framesIn(const json& object, const char* key, std::size_t most) {
    const json& value = object.at(key);
    const bool isCount = value.is_number_unsigned();
    if (!isCount || value.get<std::uint64_t>() > most)
        throw Error(std::string("\"") + key + "\" is " + value.dump() +
                    ", not a number from 0 to " + std::to_string(most));
    return value.get<std::size_t>();
}

/// @param end  frames of the output
Segment segmentFrom(const json& entry, std::size_t end) {
    Segment segment;
    segment.frames = framesIn(entry, "frames", end);
    segment.outputFrame = framesIn(entry, "output_frame", end - segment.frames);
    segment.streamFrame = framesIn(entry, "stream_frame", MOST_FRAMES);
    return segment;
}

StreamReport streamFrom(const json& entry, std::size_t end) {
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
    try {
        for (const json& segment : entry.at("segments"))
            stream.segments.push_back(segmentFrom(segment, end));
    } catch (const Error& error) {
        throw Error("stream \"" + stream.name + "\", segment " +
                    std::to_string(stream.segments.size()) + ": " + error.what());
    }
    return stream;
}

Change changeFrom(const json& entry) {
    Change change{framesIn(entry, "frame", MOST_FRAMES), entry.value("ms", 0.0), entry.at("what")};
    if (const auto db = entry.find("db"); db != entry.end() && db->is_number())
        change.db = db->get<double>();
    if (const auto by = entry.find("by"); by != entry.end() && by->is_string())
        change.by = by->get<std::string>();
    return change;
}

Report reportFrom(const json& root) {
    Report report;
    report.isPresent = true;
    report.frames = framesIn(root.at("output"), "frames", MOST_FRAMES);
    report.latePeriods = root.at("output").value("late_periods", std::size_t{0});
    for (const json& entry : root.at("streams"))
        report.streams.push_back(streamFrom(entry, report.frames));
    for (const json& entry : root.value("changes", json::array()))
        report.changes.push_back(changeFrom(entry));
    return report;
}

}  // namespace

Report readReport(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw Error(path + ": " + std::strerror(errno));
    try {
        return reportFrom(json::parse(file));
    } catch (const Error& error) {
        throw Error(path + ": not a report of the server: " + error.what());
    } catch (const json::exception& error) {
        throw Error(path + ": not a report of the server: " + error.what());
    }
}

}  // namespace cabinaudio::hear
