// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Recording.h"

#include "devkit/hear/Error.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace cabinaudio::hear {
namespace {

namespace fs = std::filesystem;

void readReportedStems(Recording& recording, const std::string& directory) {
    std::set<std::string> names;
    for (const StreamReport& stream : recording.report.streams) {
        const bool isFirst = names.insert(stream.name).second;
        if (stream.stem.empty()) continue;
        const fs::path path = directory.empty()
                                  ? fs::path(stream.stem)
                                  : fs::path(directory) / fs::path(stream.stem).filename();
        std::error_code error;
        if (!fs::exists(path, error)) continue;
        auto& stems = isFirst ? recording.stems : recording.laterStems;
        stems[isFirst ? stream.name : stream.stem] = readSound(path.string());
    }
}

/// Tags contain no '-', so the name begins after the first one.
void readFoundStems(Recording& recording, const std::string& directory) {
    std::error_code error;
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(directory, error))
        if (entry.path().extension() == ".wav") paths.push_back(entry.path());
    if (error) throw Error(directory + ": " + error.message());
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        const std::string file = path.stem().string();
        const std::size_t dash = file.find('-');
        if (dash == std::string::npos) continue;
        recording.stems.try_emplace(file.substr(dash + 1), readSound(path.string()));
    }
}

}  // namespace

Recording readRecording(const std::string& path, const std::string& reportPath,
                        const std::string& stemsDirectory) {
    Recording recording;
    recording.path = path;
    recording.heard = readSound(path);
    if (!reportPath.empty()) {
        recording.report = readReport(reportPath);
        readReportedStems(recording, stemsDirectory);
    } else if (!stemsDirectory.empty()) {
        readFoundStems(recording, stemsDirectory);
    }
    return recording;
}

}  // namespace cabinaudio::hear
