// SPDX-License-Identifier: Apache-2.0
#include "tools/ChildProcess.h"

#include "tools/Failure.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace cabinaudio::tool {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void runChild(pid_t parent, int answers, const std::function<void(int)>& work) {
    // Ends the child if this program is killed.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    try {
        work(answers);
    } catch (...) {
        _exit(1);
    }
    _exit(0);
}

/// Reads until the end of the pipe. @return false if the deadline passes first
bool readAll(int pipe, Clock::time_point deadline, std::string& output) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        struct pollfd entry = {pipe, POLLIN, 0};
        const int ready =
            poll(&entry, 1, static_cast<int>(std::max<decltype(left)::rep>(left.count(), 0)));
        if (ready == 0) return false;
        char part[256];
        const ssize_t got = ready > 0 ? read(pipe, part, sizeof part) : -1;
        if (got == 0 || (got < 0 && errno != EINTR)) return true;
        if (got > 0) output.append(part, static_cast<std::size_t>(got));
    }
}

int waitFor(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

}  // namespace

ChildResult runInChild(std::chrono::milliseconds bound, const std::function<void(int)>& work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw Failure(std::string("cannot make a pipe: ") + std::strerror(errno));
    std::fflush(nullptr);  // otherwise the child prints the buffered text again
    const Clock::time_point deadline = Clock::now() + bound;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        runChild(parent, ends[1], work);
    }
    const int error = errno;
    close(ends[1]);
    ChildResult result{"", ChildEnd::Finished};
    const bool inTime = child > 0 && readAll(ends[0], deadline, result.output);
    close(ends[0]);
    if (child < 0) throw Failure(std::string("cannot make a process: ") + std::strerror(error));
    if (!inTime) kill(child, SIGKILL);
    const int status = waitFor(child);
    if (!inTime)
        result.end = ChildEnd::Overdue;
    else if (status != 0)
        result.end = ChildEnd::Died;
    return result;
}

void silenceStandardError() {
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nothing >= 0) dup2(nothing, STDERR_FILENO);
}

void answer(int answers, const void* record, std::size_t size) {
    // Far smaller than the pipe's capacity, so the write is atomic and does not block.
    [[maybe_unused]] const ssize_t written = write(answers, record, size);
}

}  // namespace cabinaudio::tool
