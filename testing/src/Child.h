// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "testing/src/Descriptor.h"

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// How a child process is started.
struct Start {
    std::vector<std::string> words;                       // the path of the program, and arguments
    std::map<std::string, std::string> environment = {};  // added to that of this process
    std::string outPath = {};                             // file of stdout
    std::string errPath = {};                             // of stderr; may be the same file
    int readyFd = -1;                                     // becomes READY_FD of the child
};

/// The descriptor below which a child has its standard streams only.
constexpr int READY_FD = 3;

/// A child process with its output in files and an empty input. Killed by the destructor, and by
/// the kernel with the thread that started it.
class Child {
public:
    /// @throws Failure when it cannot be started
    explicit Child(const Start& start);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    [[nodiscard]] pid_t pid() const { return mPid; }
    /// @return false when it has ended already
    bool send(int signal);
    [[nodiscard]] bool isRunning() { return !waitUntil({}); }

    /// Waits for its end. @return the wait status, none at the deadline
    std::optional<int> waitFor(std::chrono::milliseconds bound);
    /// Kills it, if it has not ended, and waits. @return the wait status
    int kill();

private:
    using Clock = std::chrono::steady_clock;

    std::optional<int> waitUntil(Clock::time_point deadline);

    pid_t mPid = -1;
    std::optional<int> mStatus;
};

}  // namespace cabinaudio::testing
