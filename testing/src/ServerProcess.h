// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "testing/src/Child.h"

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// A cabinaudio-server as a child process. Has no rules of its own for what a test wants: those are
/// in TestServer.
class ServerProcess {
public:
    /// Returns when it serves.
    /// @param words  the path of the program, and arguments
    /// @param instance  of the server, which the child has in its environment
    /// @throws Failure when it does not come up, with what it said
    ServerProcess(std::vector<std::string> words, std::string instance, const std::string& logPath,
                  std::chrono::milliseconds patience);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    [[nodiscard]] pid_t pid() const { return mChild->pid(); }
    [[nodiscard]] bool isRunning() const { return mChild->isRunning(); }
    void send(int signal) const { mChild->send(signal); }

    /// Sends a line to the control socket. @return the answer without the end of its line
    /// @throws Failure when there is no server, or no answer within the bound
    [[nodiscard]] std::string ask(const std::string& line, std::chrono::milliseconds bound) const;

    /// Waits for its end; one that does not end is killed. @return the wait status
    int wait(std::chrono::milliseconds bound) const;

private:
    std::string mInstance;
    std::unique_ptr<Child> mChild;
};

/// Removes the file that a killed server leaves: the physical memory of its instance.
void removePhysicalMemory(const std::string& instance);

}  // namespace cabinaudio::testing
