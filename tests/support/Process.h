// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {

using Words = std::vector<std::string>;
/// Names and values; "" removes a variable.
using Variables = std::vector<std::pair<std::string, std::string>>;

/// How a program is to be started.
struct Start {
    Words words;  // path and arguments
    Variables variables = {};
    std::string directory = {};
    std::string input = {};  // file to read standard input from; otherwise a pipe that stays empty
    bool outOnTerminal = false;
    bool errOnTerminal = false;
    std::function<void()> inChild = {};  // last thing before the exec
};

/// How it ended.
struct Outcome {
    pid_t pid = -1;
    int exitCode = -1;     // -1 when a signal ended it
    int signal = 0;        // that ended it
    bool overdue = false;  // it had to be killed
    std::string out;
    std::string err;
    std::chrono::milliseconds took{};

    /// Everything, for the message of a failing assertion.
    [[nodiscard]] std::string text() const;
};

/// A running program with pipes to its streams. Killed when it outlives the object.
class Process {
public:
    explicit Process(const Start& start);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] pid_t pid() const { return mPid; }

    void send(int signal) const;

    /// The next line of stdout without its end; "" at the end of the stream or after a bound.
    std::string readLine();

    /// Waits until stderr holds the text. @return whether it does
    [[nodiscard]] bool waitForErr(const std::string& text,
                                  std::chrono::milliseconds bound = std::chrono::seconds(60));

    /// Closes its standard input, reads both streams to their ends and waits for its end; kills it
    /// when the bound is over.
    Outcome finish(std::chrono::milliseconds bound = std::chrono::minutes(2));

    /// The same, and expects this exit status.
    Outcome finishExpecting(int status, const char* file = __builtin_FILE(),
                            int line = __builtin_LINE());

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
    int mIn = -1;
    Stream mOut;
    Stream mErr;
};

/// Runs a program to its end.
Outcome runProgram(const Start& start);

}  // namespace cabinaudio::test
