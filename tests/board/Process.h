// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {

/// How a program is to be started.
struct Start {
    std::vector<std::string> words;                                // path and arguments
    std::vector<std::pair<std::string, std::string>> variables{};  // "" removes one
    std::string directory{};
    std::function<void()> inChild{};  // last thing before the exec
};

/// How it ended.
struct Outcome {
    pid_t pid = -1;
    int exitCode = -1;  // -1 when ended by a signal
    int signal = 0;
    std::string out;
    std::string err;
};

/// A running program with pipes to its streams. Killed when it outlives the object.
class Process {
public:
    explicit Process(const Start& start);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return mPid; }

    /// The next line of stdout without its end; "" at the end of the stream or after a bound.
    std::string readLine();

    /// Closes stdin, reads both streams to their ends and waits for the end of the program,
    /// for at most two minutes.
    Outcome finish();

private:
    pid_t mPid;
    int mIn;
    int mOut;
    int mErr;
};

Outcome runProgram(const Start& start);

/// Runs `work` in a forked child. @return what it gave back, or how the child ended otherwise.
std::string inForkedChild(const std::function<std::string()>& work);

}  // namespace cabinaudio::test
