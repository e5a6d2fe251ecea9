// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Process.h"

#include "devkit/process/Signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

struct Ends {
    int reading = -1;
    int writing = -1;
};

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

Ends makePipe() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe2");
    return {ends[0], ends[1]};
}

Ends makeTerminal() {
    Ends ends;
    struct winsize size = {24, 80, 0, 0};
    if (openpty(&ends.reading, &ends.writing, nullptr, nullptr, &size) != 0) fail("openpty");
    fcntl(ends.reading, F_SETFD, FD_CLOEXEC);
    fcntl(ends.writing, F_SETFD, FD_CLOEXEC);
    return ends;
}

/// The program's standard input; the other end of a file is none.
Ends makeInput(const std::string& file) {
    if (file.empty()) return makePipe();
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) fail(file);
    return {descriptor, -1};
}

Words environmentWith(const Variables& variables) {
    const auto isReplaced = [&](const std::string& text) {
        const std::string name = text.substr(0, text.find('='));
        return std::any_of(variables.begin(), variables.end(),
                           [&](const auto& other) { return other.first == name; });
    };
    Words all;
    for (char** variable = environ; *variable != nullptr; ++variable)
        if (!isReplaced(*variable)) all.emplace_back(*variable);
    for (auto one = variables.begin(); one != variables.end(); ++one) {
        const bool isLast = std::none_of(
            one + 1, variables.end(), [&](const auto& other) { return other.first == one->first; });
        if (isLast && !one->second.empty()) all.push_back(one->first + "=" + one->second);
    }
    return all;
}

std::vector<char*> pointersTo(Words& texts) {
    std::vector<char*> all;
    for (std::string& text : texts)
        all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

/// What the child does; everything that takes memory was prepared before the fork, because other
/// threads may have held the heap's lock then.
[[noreturn]] void beProgram(const Start& start, char** words, char** variables) {
    forgetSignals();
    if (start.directory.empty() || chdir(start.directory.c_str()) == 0) {
        if (start.inChild) start.inChild();
        execve(words[0], words, variables);
    }
    perror(words[0]);
    _exit(98);
}

}  // namespace

std::string Outcome::text() const {
    return "exit code " + std::to_string(exitCode) + ", signal " + std::to_string(signal) +
           (overdue ? ", OVERDUE" : "") + ", " + std::to_string(took.count()) + " ms\n--- out:\n" +
           out + "--- err:\n" + err;
}

Process::Process(const Start& start) {
    const Ends in = makeInput(start.input);
    const Ends out = start.outOnTerminal ? makeTerminal() : makePipe();
    const Ends err = start.errOnTerminal ? makeTerminal() : makePipe();
    Words words = start.words;
    Words variables = environmentWith(start.variables);
    const std::vector<char*> arguments = pointersTo(words);
    const std::vector<char*> environment = pointersTo(variables);
    mStart = Clock::now();
    mPid = fork();
    if (mPid == 0) {
        dup2(in.reading, STDIN_FILENO);
        dup2(out.writing, STDOUT_FILENO);
        dup2(err.writing, STDERR_FILENO);
        beProgram(start, const_cast<char**>(arguments.data()),
                  const_cast<char**>(environment.data()));
    }
    for (const int ofChild : {in.reading, out.writing, err.writing})
        close(ofChild);
    mIn = in.writing;
    mOut.descriptor = out.reading;
    mErr.descriptor = err.reading;
    if (mPid < 0) fail("fork");
}

Process::~Process() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    for (const int descriptor : {mIn, mOut.descriptor, mErr.descriptor})
        if (descriptor >= 0) close(descriptor);
}

void Process::send(int signal) const {
    if (mPid > 0) kill(mPid, signal);
}

bool Process::readSome(Clock::time_point deadline) {
    if (mOut.descriptor < 0 && mErr.descriptor < 0) return false;
    struct pollfd entries[2] = {{mOut.descriptor, POLLIN, 0}, {mErr.descriptor, POLLIN, 0}};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0 || poll(entries, 2, static_cast<int>(left.count())) == 0) return false;
    Stream* const streams[2] = {&mOut, &mErr};
    for (int i = 0; i < 2; ++i) {
        if (entries[i].revents == 0) continue;
        char part[4096];
        const ssize_t got = read(streams[i]->descriptor, part, sizeof part);
        if (got > 0) {
            streams[i]->text.append(part, static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {  // a terminal ends with EIO
            close(std::exchange(streams[i]->descriptor, -1));
        }
    }
    return true;
}

std::string Process::readLine() {
    const Clock::time_point deadline = Clock::now() + std::chrono::minutes(2);
    std::size_t end = 0;
    while ((end = mOut.text.find('\n')) == std::string::npos && mOut.descriptor >= 0)
        if (!readSome(deadline)) return {};
    if (end == std::string::npos) return {};
    const std::string line = mOut.text.substr(0, end);
    mOut.text.erase(0, end + 1);
    return line;
}

bool Process::waitForErr(const std::string& text, std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    while (mErr.text.find(text) == std::string::npos)
        if (!readSome(deadline)) return false;
    return true;
}

Outcome Process::finish(std::chrono::milliseconds bound) {
    Outcome outcome;
    outcome.pid = mPid;
    if (mIn >= 0) close(std::exchange(mIn, -1));
    const Clock::time_point deadline = Clock::now() + bound;
    while (readSome(deadline)) {
    }
    outcome.overdue = mOut.descriptor >= 0 || mErr.descriptor >= 0;
    if (outcome.overdue) kill(mPid, SIGKILL);
    int status = 0;
    waitpid(std::exchange(mPid, -1), &status, 0);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    outcome.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - mStart);
    outcome.out = mOut.text;
    outcome.err = mErr.text;
    return outcome;
}

Outcome Process::finishExpecting(int status, const char* file, int line) {
    const ::testing::ScopedTrace trace(file, line, "this program's end");
    Outcome outcome = finish();
    EXPECT_EQ(outcome.exitCode, status) << outcome.text();
    return outcome;
}

Outcome runProgram(const Start& start) {
    return Process(start).finish();
}

}  // namespace cabinaudio::test
