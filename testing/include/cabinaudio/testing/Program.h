// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Failure.h>

#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// How a program ended.
struct ProgramEnd {
    int exitStatus = -1;     ///< -1 when a signal ended it
    int signal = 0;          ///< that ended it
    bool isOverdue = false;  ///< it was killed because the bound was over

    [[nodiscard]] bool isSuccess() const { return exitStatus == 0; }
};

/// "exited with status 3", "was ended by SIGSEGV (Segmentation fault)".
void PrintTo(const ProgramEnd& end, std::ostream* out);

/// How a TestProgram is started.
struct ProgramOptions {
    /// The server that it reaches. "" for the one of this process, which a TestServer sets.
    std::string instance = {};
    /// Where its output is kept as PROGRAM.out and PROGRAM.log; "" for a TestDirectory of its own.
    std::string directory = {};
    /// Added to the environment.
    std::map<std::string, std::string> environment = {};
    /// Through cabinaudio-run, which gives it the board's devices. Programs that know how to start
    /// themselves, such as `cabinaudio`, need it not.
    bool isLaunched = true;
};

/// An application as it is delivered, run under cabinaudio-run. What it prints is kept in files. It
/// is killed when it outlives the object, and with the thread that made the object.
///
/// cabinaudio-run is CABINAUDIO_LAUNCHER of the environment, otherwise found in PATH. For one
/// thread at a time.
class TestProgram {
public:
    /// @param words  the program, a path or a name in PATH, and its arguments
    /// @throws Failure when it cannot be started
    explicit TestProgram(std::vector<std::string> words, const ProgramOptions& options = {});
    ~TestProgram();
    TestProgram(const TestProgram&) = delete;
    TestProgram& operator=(const TestProgram&) = delete;

    [[nodiscard]] pid_t pid() const;
    /// @throws Failure when it has ended already
    void signal(int number);
    [[nodiscard]] bool isRunning();

    /// Waits for the end; kills the program when the bound is over. Later calls return the same.
    ProgramEnd wait(std::chrono::milliseconds bound = std::chrono::minutes(1));
    /// Waits until it has printed this on stdout or stderr.
    /// @throws Failure when it ends before, or the bound is over: with its last lines
    void waitForOutput(const std::string& text,
                       std::chrono::milliseconds bound = std::chrono::minutes(1));

    /// What it has printed so far on stdout.
    [[nodiscard]] std::string output() const;
    /// On stderr, where the library's log is too.
    [[nodiscard]] std::string log() const;
    /// The last lines of the log, for messages.
    [[nodiscard]] std::string lastLines(std::size_t count = 20) const;
    [[nodiscard]] const std::string& logPath() const;

private:
    class Inside;
    std::unique_ptr<Inside> mInside;
};

}  // namespace cabinaudio::testing
