// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Program.h>
#include <cabinaudio/testing/Scenario.h>

#include "testing/src/Programs.h"

#include <filesystem>
#include <ostream>

namespace cabinaudio::testing {
namespace {

/// The tool keeps files in a directory of its own only: named after the scenario, and numbered when
/// it runs again.
std::string unusedDirectory(const std::string& directory, const std::string& file) {
    const std::string base = directory + "/" + std::filesystem::path(file).stem().string();
    std::string path = base;
    for (int number = 2; std::filesystem::exists(path); ++number)
        path = base + "-" + std::to_string(number);
    return path;
}

}  // namespace

Heard ScenarioResult::heard() const {
    const auto inside = [&](const char* name) {
        std::string path = directory + "/" + name;
        return std::filesystem::exists(path) ? path : std::string();
    };
    Heard heard(directory + "/heard.wav", inside("report.json"), inside("stems"));
    heard.setPictureDirectory(directory);
    return heard;
}

void PrintTo(const ScenarioResult& result, std::ostream* out) {
    *out << "status " << result.exitStatus << '\n' << result.output << result.log;
}

ScenarioResult runScenario(const std::string& file, const std::string& directory,
                           std::chrono::milliseconds bound) {
    ProgramOptions options;
    options.directory = directory;
    options.isLaunched = false;  // the tool launches its programs
    const std::string kept = unusedDirectory(directory, file);
    TestProgram tool({toolProgram(), "scenario", file, "--keep", kept}, options);
    const ProgramEnd end = tool.wait(bound);
    if (end.isOverdue)
        throw Failure("scenario " + file + " has not ended within " +
                      std::to_string(bound.count()) + " ms:\n" + tool.lastLines());
    return {end.exitStatus, tool.output(), tool.log(), kept};
}

}  // namespace cabinaudio::testing
