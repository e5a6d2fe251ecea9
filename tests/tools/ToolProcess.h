// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {

/// What came of a run of the tool.
struct ToolResult {
    int exitCode = -1;     // -1 when a signal ended it
    int signal = 0;        // that ended it
    bool overdue = false;  // it had to be killed
    std::string out;
    std::string err;
    std::chrono::milliseconds took{};

    /// Everything, for the message of a failing assertion.
    [[nodiscard]] std::string text() const;
};

/// The surroundings that the tool is started in. Standard input is /dev/null unless said otherwise.
struct ToolSetup {
    std::vector<std::pair<std::string, std::string>> environment = {};
    std::string input = {};        // file to read standard input from
    std::vector<int> closed = {};  // descriptors that are closed
    bool outOnTerminal = false;
    bool errOnTerminal = false;
    std::string program = {};  // instead of the tool that was built
};

/// The real tool as a child process; on the target's build it runs in the emulator. Killed when it
/// is still there in the destructor.
class ToolProcess {
public:
    explicit ToolProcess(const std::vector<std::string>& arguments, const ToolSetup& setup = {});
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    void send(int signal) const;

    /// Waits until stderr holds the text. @return whether it does
    [[nodiscard]] bool waitForErr(const std::string& text,
                                  std::chrono::milliseconds bound = std::chrono::seconds(60));

    /// Waits for its end; kills it when the bound is over.
    [[nodiscard]] ToolResult wait(std::chrono::milliseconds bound = std::chrono::seconds(90));

private:
    using Clock = std::chrono::steady_clock;

    struct Stream {
        int descriptor = -1;  // -1 at its end
        std::string text;
    };

    /// Reads what comes until the deadline. @return false at the deadline or the end of both
    bool readSome(Clock::time_point deadline);

    pid_t mPid = -1;
    Clock::time_point mStart;
    Stream mOut;
    Stream mErr;
};

/// Runs the tool to its end.
[[nodiscard]] ToolResult runTool(const std::vector<std::string>& arguments,
                                 const ToolSetup& setup = {});

/// Path of the tool that was built.
[[nodiscard]] std::string toolPath();

/// "--no-block" as a part of a test's name: letters only.
[[nodiscard]] std::string wordsOf(const std::string& option);

/// Whether the tool is started by hand through the launcher, because it is the target's.
[[nodiscard]] bool toolIsEmulated();

}  // namespace cabinaudio::test
