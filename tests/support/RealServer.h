// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// The development server as a child process, on this test's own instance. Started and ready when
/// the constructor returns (it throws std::runtime_error when the server does not come up); ended
/// with SIGTERM by the destructor, and at the latest with the thread that made it.
class RealServer {
public:
    /// @param arguments  of cabinaudio-server, for example {"--output", "null", "--fast"}
    explicit RealServer(std::vector<std::string> arguments = {"--output", "null"});
    ~RealServer();
    RealServer(const RealServer&) = delete;
    RealServer& operator=(const RealServer&) = delete;

    /// The program: CABINAUDIO_SERVER of the environment, or that of the build.
    [[nodiscard]] static std::string path();

    [[nodiscard]] pid_t pid() const { return mPid; }

    /// Sends one command line to the server's control socket and returns its answer line.
    [[nodiscard]] std::string command(const std::string& line) const;

    void kill(int signal) const;

    /// Ends it with SIGTERM and waits. @return the wait status
    int stop();
    /// Waits for it to end; one that does not is killed. @return the wait status
    int wait();

    /// What the server has printed so far (stdout and stderr).
    [[nodiscard]] std::string output() const;

private:
    class Process;

    std::string mOutputFile;
    std::unique_ptr<Process> mProcess;
    pid_t mPid = -1;  // until it has ended
};

}  // namespace cabinaudio::test
