// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// A server program that runs as long as this object and this process exist.
class Daemon {
public:
    struct Start {
        std::vector<std::string> command;
        std::vector<std::string> environment;  // NAME=value, beside this process's own
        std::string logFile;                   // receives the program's output
    };

    explicit Daemon(const Start& start);
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Calls `isReady` until it succeeds.
    /// @throws std::runtime_error with the end of the log, if the program has ended or after 5 s
    void waitFor(const std::function<bool()>& isReady);

    [[nodiscard]] pid_t process() const { return mProcess; }

private:
    [[nodiscard]] std::string lastWords() const;

    std::string mName;
    std::string mLogFile;
    pid_t mProcess;
};

/// Writes a configuration file for a server.
void writeFile(const std::string& path, const std::string& text);

}  // namespace cabinaudio::bench
