// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Program.h>
#include <cabinaudio/testing/Scenario.h>

#include "testing/src/Programs.h"

#include <filesystem>
#include <ostream>

namespace cabinaudio::testing {

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
    TestProgram tool({toolProgram(), "scenario", file, "--keep", directory}, options);
    const ProgramEnd end = tool.wait(bound);
    if (end.isOverdue)
        throw Failure("scenario " + file + " has not ended within " +
                      std::to_string(bound.count()) + " ms:\n" + tool.lastLines());
    return {end.exitStatus, tool.output(), tool.log(), directory};
}

}  // namespace cabinaudio::testing
