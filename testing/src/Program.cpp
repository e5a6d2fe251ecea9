// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Program.h>

#include "testing/src/Child.h"
#include "testing/src/Programs.h"
#include "testing/src/Text.h"

#include <string.h>
#include <sys/wait.h>

#include <filesystem>
#include <optional>
#include <ostream>
#include <thread>
#include <utility>

namespace cabinaudio::testing {
namespace {

namespace fs = std::filesystem;

/// The file without suffix for a program's output; several runs of one program have several.
std::string unusedName(const std::string& directory, const std::string& program) {
    const std::string base = directory + "/" + fs::path(program).filename().string();
    std::string name = base;
    for (int number = 2; fs::exists(name + ".log"); ++number)
        name = base + "-" + std::to_string(number);
    return name;
}

Start startOf(std::vector<std::string> words, const ProgramOptions& options,
              const std::string& name) {
    Start start;
    start.words = std::move(words);
    if (options.isLaunched) start.words.insert(start.words.begin(), {launcherProgram(), "--"});
    start.environment = options.environment;
    if (!options.instance.empty()) start.environment["CABINAUDIO_INSTANCE"] = options.instance;
    start.outPath = name + ".out";
    start.errPath = name + ".log";
    return start;
}

ProgramEnd endOf(int status) {
    ProgramEnd end;
    if (WIFEXITED(status)) end.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) end.signal = WTERMSIG(status);
    return end;
}

}  // namespace

void PrintTo(const ProgramEnd& end, std::ostream* out) {
    if (end.isOverdue)
        *out << "did not end in time and was killed";
    else if (end.signal != 0)
        *out << "was ended by SIG" << sigabbrev_np(end.signal) << " (" << strsignal(end.signal)
             << ')';
    else
        *out << "exited with status " << end.exitStatus;
}

class TestProgram::Inside {
public:
    Inside(std::vector<std::string> words, const ProgramOptions& options)
        : mOwn(options.directory.empty() ? std::make_unique<TestDirectory>() : nullptr),
          mCommand(words.at(0)),
          mName(unusedName(mOwn ? mOwn->path() : options.directory, mCommand)),
          mChild(startOf(std::move(words), options, mName)),
          mLogPath(mName + ".log") {}

    std::unique_ptr<TestDirectory> mOwn;
    std::string mCommand;
    std::string mName;
    Child mChild;
    std::string mLogPath;
    std::optional<ProgramEnd> mEnd;
};

TestProgram::TestProgram(std::vector<std::string> words, const ProgramOptions& options) {
    if (words.empty()) throw Failure("a program has at least one word, its path");
    mInside = std::make_unique<Inside>(std::move(words), options);
}

TestProgram::~TestProgram() = default;

pid_t TestProgram::pid() const {
    return mInside->mChild.pid();
}

void TestProgram::signal(int number) {
    if (!mInside->mChild.send(number))
        throw Failure(mInside->mCommand + " has ended already:\n" + lastLines());
}

bool TestProgram::isRunning() {
    return mInside->mChild.isRunning();
}

ProgramEnd TestProgram::wait(std::chrono::milliseconds bound) {
    if (mInside->mEnd) return *mInside->mEnd;
    const std::optional<int> status = mInside->mChild.waitFor(bound);
    ProgramEnd end = endOf(status ? *status : mInside->mChild.kill());
    end.isOverdue = !status;
    mInside->mEnd = end;
    return end;
}

void TestProgram::waitForOutput(const std::string& text, std::chrono::milliseconds bound) {
    constexpr std::chrono::milliseconds PAUSE{2};
    const auto deadline = std::chrono::steady_clock::now() + bound;
    for (;;) {
        // First: text that comes with the end is found.
        const bool hasEnded = !isRunning();
        if (output().find(text) != std::string::npos || log().find(text) != std::string::npos)
            return;
        if (hasEnded)
            throw Failure(mInside->mCommand + " ended without '" + text + "':\n" + lastLines());
        if (std::chrono::steady_clock::now() >= deadline)
            throw Failure(mInside->mCommand + " has not printed '" + text + "' within " +
                          std::to_string(bound.count()) + " ms:\n" + lastLines());
        std::this_thread::sleep_for(PAUSE);
    }
}

std::string TestProgram::output() const {
    return contentsOf(mInside->mName + ".out");
}

std::string TestProgram::log() const {
    return contentsOf(mInside->mLogPath);
}

std::string TestProgram::lastLines(std::size_t count) const {
    return lastLinesOf(log(), count);
}

const std::string& TestProgram::logPath() const {
    return mInside->mLogPath;
}

}  // namespace cabinaudio::testing
