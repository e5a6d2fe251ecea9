// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/SettingsChange.h"

#include "tools/Failure.h"
#include "tools/scenario/Child.h"
#include "tools/scenario/Files.h"
#include "tools/scenario/Signals.h"

#include <sys/wait.h>

#include <optional>

namespace cabinaudio::tool::scenario {

void changeSettings(const SetCommand& set, const std::string& file, const Locations& locations,
                    const std::string& instance, const std::string& log, const Wait& wait) {
    ChildStart start;
    // Through the launcher: a tool for another processor needs it.
    start.words = {locations.launcher, "--instance", instance, "--", locations.tool, "set", "--"};
    start.words.insert(start.words.end(), set.assignments.begin(), set.assignments.end());
    start.outputFile = start.errorFile = log;
    Child child(start);
    wait.until(
        set.line, "'cabinaudio set'", [] { return false; },
        [&] { return child.ended().has_value(); });
    const int status = *child.ended();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
    const bool isUsage = WIFEXITED(status) && WEXITSTATUS(status) == 2;
    const std::string said = lastLine(log);
    throw Failure(file + ":" + std::to_string(set.line) + ": " +
                      (said.empty() ? "'cabinaudio set' ended with " + endText(status) : said),
                  isUsage ? ExitCode::Usage : ExitCode::Failed);
}

}  // namespace cabinaudio::tool::scenario
