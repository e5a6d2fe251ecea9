// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/ToolProcess.h"

#include "tests/support/JsonSchema.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <iterator>

namespace cabinaudio::test {
namespace {

std::string launcherPath() {
    const char* path = std::getenv("CABINAUDIO_LAUNCHER");
    return path != nullptr && *path != '\0' ? path : CABINAUDIO_TEST_LAUNCHER;
}

Start startOf(const Words& arguments, const ToolSetup& setup) {
    Start start;
    if (toolIsEmulated()) start.words = {launcherPath(), "--"};
    start.words.push_back(setup.program.empty() ? toolPath() : setup.program);
    start.words.insert(start.words.end(), arguments.begin(), arguments.end());
    start.variables = {{"NO_COLOR", ""}, {"TERM", ""}};
    start.variables.insert(start.variables.end(), setup.environment.begin(),
                           setup.environment.end());
    start.input = setup.input.empty() ? "/dev/null" : setup.input;
    start.outOnTerminal = setup.outOnTerminal;
    start.errOnTerminal = setup.errOnTerminal;
    start.inChild = [&setup] {
        for (const int descriptor : setup.closed)
            close(descriptor);
        if (setup.inChild) setup.inChild();
    };
    return start;
}

}  // namespace

ToolProcess::ToolProcess(const Words& arguments, const ToolSetup& setup)
    : Process(startOf(arguments, setup)),
      mArguments(arguments),
      mIsStateScripted(setup.isStateScripted) {}

Outcome ToolProcess::finish(std::chrono::milliseconds bound) {
    return checked(Process::finish(bound));
}

Outcome ToolProcess::finishExpecting(int status, const char* file, int line) {
    return checked(Process::finishExpecting(status, file, line));
}

Outcome ToolProcess::checked(Outcome outcome) const {
    const auto has = [&](const char* word) {
        return std::find(mArguments.begin(), mArguments.end(), word) != mArguments.end();
    };
    if (mIsStateScripted) return outcome;
    if (has("--json") && !has("--help") && !has("-h")) expectJsonOf(mArguments, outcome.out);
    return outcome;
}

Outcome runTool(const Words& arguments, const ToolSetup& setup) {
    return ToolProcess(arguments, setup).finish();
}

Outcome runExpecting(int status, const Words& arguments, const ToolSetup& setup, const char* file,
                     int line) {
    return ToolProcess(arguments, setup).finishExpecting(status, file, line);
}

std::string toolPath() {
    return CABINAUDIO_TEST_TOOL;
}

std::string wordsOf(const std::string& option) {
    std::string words;
    std::copy_if(option.begin(), option.end(), std::back_inserter(words),
                 [](unsigned char letter) { return std::isalpha(letter) != 0; });
    return words;
}

bool toolIsEmulated() {
    return sizeof CABINAUDIO_TEST_LAUNCHER > 1;
}

}  // namespace cabinaudio::test
