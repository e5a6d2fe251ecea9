// SPDX-License-Identifier: Apache-2.0
#include "tests/board/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::minutes kBound{2};

std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

[[noreturn]] void become(const Start& start) {
    for (const auto& [name, value] : start.variables) {
        value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> words;
    for (const std::string& word : start.words) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    if (start.directory.empty() || chdir(start.directory.c_str()) == 0) {
        if (start.inChild) {
            start.inChild();
        }
        execvp(words[0], words.data());
    }
    perror(words[0]);
    _exit(98);
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// False at the end of the stream.
bool readSome(int from, std::string& into) {
    std::array<char, 4096> block{};
    const ssize_t got = read(from, block.data(), block.size());
    if (got > 0) {
        into.append(block.data(), static_cast<std::size_t>(got));
    }
    return got > 0;
}

void readToEnds(int out, std::string& outText, int err, std::string& errText) {
    std::array<pollfd, 2> streams{pollfd{out, POLLIN, 0}, pollfd{err, POLLIN, 0}};
    const std::array<std::string*, 2> texts{&outText, &errText};
    const Clock::time_point deadline = Clock::now() + kBound;
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        if (poll(streams.data(), streams.size(), millisecondsUntil(deadline)) == 0) {
            errText += "[the test gave up waiting]";
            return;
        }
        for (std::size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].fd >= 0 && streams[i].revents != 0 &&
                !readSome(streams[i].fd, *texts[i])) {
                streams[i].fd = -1;
            }
        }
    }
}

}  // namespace

Process::Process(const Start& start) {
    const std::array<int, 2> in = makePipe();
    const std::array<int, 2> out = makePipe();
    const std::array<int, 2> err = makePipe();
    mPid = fork();
    if (mPid == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        become(start);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    mIn = in[1];
    mOut = out[0];
    mErr = err[0];
}

Process::~Process() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    for (const int descriptor : {mIn, mOut, mErr}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

std::string Process::readLine() {
    std::string line;
    const Clock::time_point deadline = Clock::now() + kBound;
    pollfd stream{mOut, POLLIN, 0};
    char next = 0;
    while (poll(&stream, 1, millisecondsUntil(deadline)) > 0 && read(mOut, &next, 1) == 1) {
        if (next == '\n') {
            return line;
        }
        line += next;
    }
    return {};
}

Outcome Process::finish() {
    Outcome outcome;
    outcome.pid = mPid;
    close(std::exchange(mIn, -1));
    readToEnds(mOut, outcome.out, mErr, outcome.err);
    if (outcome.err.ends_with("[the test gave up waiting]")) {
        kill(mPid, SIGKILL);
    }
    int status = 0;
    waitpid(std::exchange(mPid, -1), &status, 0);
    if (WIFEXITED(status)) {
        outcome.exitCode = WEXITSTATUS(status);
    } else {
        outcome.signal = WTERMSIG(status);
    }
    return outcome;
}

Outcome runProgram(const Start& start) {
    return Process(start).finish();
}

std::string inForkedChild(const std::function<std::string()>& work) {
    const std::array<int, 2> result = makePipe();
    const pid_t child = fork();
    if (child == 0) {
        const std::string text = work();
        const ssize_t written = write(result[1], text.data(), text.size());
        _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    close(result[1]);
    std::string text;
    while (readSome(result[0], text)) {
    }
    close(result[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? text : text + "[child ended with " + std::to_string(status) + "]";
}

}  // namespace cabinaudio::test
