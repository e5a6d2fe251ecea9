// SPDX-License-Identifier: Apache-2.0
#include "devkit/wavcheck/Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace cabinaudio::wavcheck {
namespace {

using nlohmann::json;

StreamReport streamFrom(const json& entry) {
    StreamReport stream{entry.at("name"),      entry.at("tag"),      entry.at("stem"),
                        entry.at("underruns"), entry.at("finishes"), {}};
    for (const json& segment : entry.at("segments")) {
        stream.segments.push_back(
            {segment.at("output_frame"), segment.at("stream_frame"), segment.at("frames")});
    }
    return stream;
}

}  // namespace

const StreamReport& Report::stream(const std::string& name) const {
    const auto hasName = [&](const StreamReport& stream) { return stream.name == name; };
    if (std::count_if(streams.begin(), streams.end(), hasName) != 1)
        throw std::runtime_error("the report does not hold exactly one stream \"" + name + '"');
    return *std::find_if(streams.begin(), streams.end(), hasName);
}

Report readReport(const std::string& path) {
    try {
        std::ifstream file(path);
        const json root = json::parse(file);
        Report report{root.at("output").at("frames"), root.at("output").at("late_periods"), {}};
        for (const json& entry : root.at("streams"))
            report.streams.push_back(streamFrom(entry));
        return report;
    } catch (const json::exception& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

}  // namespace cabinaudio::wavcheck
