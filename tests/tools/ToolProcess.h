// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Process.h"

#include <chrono>
#include <functional>
#include <string>

namespace cabinaudio::test {

/// The surroundings that the tool is started in. Colours and the terminal's kind are those of
/// `environment` only.
struct ToolSetup {
    Variables environment = {};
    std::string input = {};        // file to read standard input from; otherwise it is empty
    std::vector<int> closed = {};  // descriptors that are closed
    bool outOnTerminal = false;
    bool errOnTerminal = false;
    std::string program = {};            // instead of the tool that was built
    std::function<void()> inChild = {};  // last thing before the exec
    bool isStateScripted = false;  // by a server of the test's own, and not as the schema has it
};

/// The real tool as a child process; on the target's build it runs in the emulator.
class ToolProcess : public Process {
public:
    explicit ToolProcess(const Words& arguments, const ToolSetup& setup = {});

    /// As those of the base; with --json also expect that the output is as the schema has it.
    Outcome finish(std::chrono::milliseconds bound = std::chrono::minutes(2));
    Outcome finishExpecting(int status, const char* file = __builtin_FILE(),
                            int line = __builtin_LINE());

private:
    [[nodiscard]] Outcome checked(Outcome outcome) const;

    const Words mArguments;
    const bool mIsStateScripted;
};

/// Runs the tool to its end.
[[nodiscard]] Outcome runTool(const Words& arguments, const ToolSetup& setup = {});

/// The same, and expects this exit status.
Outcome runExpecting(int status, const Words& arguments, const ToolSetup& setup = {},
                     const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// Path of the tool that was built.
[[nodiscard]] std::string toolPath();

/// "--no-block" as a part of a test's name: letters only.
[[nodiscard]] std::string wordsOf(const std::string& option);

/// Whether the tool is started by hand through the launcher, because it is the target's.
[[nodiscard]] bool toolIsEmulated();

}  // namespace cabinaudio::test
