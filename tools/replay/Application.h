// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// The application that a replay starts, in a process group of its own, with this program's
/// standard descriptors. It is killed with this process at the latest; the destructor ends it.
class Application {
public:
    /// Call only while this process has one thread.
    /// @param words     the program, found as a shell finds it, and its arguments
    /// @param instance  of the server; "" for the common one
    /// @param keepsOut  false: its standard output is standard error
    /// @throws Failure when no process can be made
    Application(const std::vector<std::string>& words, const std::string& instance, bool keepsOut);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// @return the wait status once the process has ended
    [[nodiscard]] std::optional<int> ended();
    /// Asks it to end, kills it a second later, and waits.
    void end();

private:
    pid_t mPid = -1;
    std::optional<int> mStatus;
};

}  // namespace cabinaudio::tool
