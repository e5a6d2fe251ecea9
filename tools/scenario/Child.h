// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Scenario.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::tool::scenario {

/// How a child process is started. Standard input is empty.
struct ChildStart {
    Words words;             // the first one is the program's path
    std::string outputFile;  // of stdout
    std::string errorFile;   // of stderr; may be the same file
    std::vector<std::pair<std::string, std::string>> variables;  // besides those of this process
    int readyFd = -1;                                            // becomes READY_FD there
};

/// A child process in a process group of its own. It is killed with this process at the latest;
/// the destructor kills and awaits the whole group.
class Child {
public:
    static constexpr int READY_FD = 3;

    /// @throws Failure when a file cannot be written or no process can be made
    explicit Child(const ChildStart& start);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// @return the wait status once the process has ended
    [[nodiscard]] std::optional<int> ended();
    /// To the process only. Without effect once it has ended.
    void send(int signal) const;
    /// To all processes of the group.
    void sendToGroup(int signal) const;

private:
    pid_t mPid = -1;
    std::optional<int> mStatus;
};

}  // namespace cabinaudio::tool::scenario
