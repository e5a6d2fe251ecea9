// SPDX-License-Identifier: Apache-2.0
#include "tools/replay/Application.h"

#include "devkit/board/Board.h"
#include "devkit/process/Signals.h"
#include "tools/Failure.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace cabinaudio::tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds GRACE{1};
constexpr int LOOK_MS = 10;

[[noreturn]] void becomeProgram(char** words, bool keepsOut, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    setpgid(0, 0);
    forgetSignals();
    if (!keepsOut) dup2(STDERR_FILENO, STDOUT_FILENO);
    execvp(words[0], words);
    dprintf(STDERR_FILENO, "cabinaudio: cannot run %s: %s\n", words[0], std::strerror(errno));
    _exit(127);
}

}  // namespace

Application::Application(const std::vector<std::string>& words, const std::string& instance,
                         bool keepsOut) {
    std::vector<std::string> kept = words;
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : kept)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    if (!instance.empty()) setenv(board::INSTANCE_VARIABLE, instance.c_str(), 1);
    const pid_t parent = getpid();
    mPid = fork();
    if (mPid == 0) becomeProgram(pointers.data(), keepsOut, parent);
    if (mPid < 0) throw Failure(std::string("cannot make a process: ") + std::strerror(errno));
    setpgid(mPid, mPid);  // also here, because either process may be the first to run
}

Application::~Application() {
    end();
}

std::optional<int> Application::ended() {
    int status = 0;
    if (!mStatus && waitpid(mPid, &status, WNOHANG) == mPid) mStatus = status;
    return mStatus;
}

void Application::end() {
    if (ended()) return;
    kill(-mPid, SIGTERM);
    const Clock::time_point limit = Clock::now() + GRACE;
    while (!ended() && Clock::now() < limit)
        (void)poll(nullptr, 0, LOOK_MS);
    kill(-mPid, SIGKILL);
    int status = 0;
    while (!mStatus) {
        if (waitpid(mPid, &status, 0) == mPid) mStatus = status;
        if (errno == ECHILD) mStatus = status;
    }
}

}  // namespace cabinaudio::tool
