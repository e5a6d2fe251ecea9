// SPDX-License-Identifier: Apache-2.0
#include "testing/src/Child.h"

#include <cabinaudio/testing/Failure.h>

#include "testing/src/Text.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sstream>
#include <thread>

namespace cabinaudio::testing {
namespace {

/// The longest of the pauses between two looks at a child. The kernel's own way to wait with a
/// limit, a pidfd, is missing in emulators.
constexpr std::chrono::milliseconds LONGEST_PAUSE{5};

bool isBoardStandIn(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return name == "libcabinaudio-board.so" || name.rfind("cabinaudio-lib-", 0) == 0;
}

/// Without the board stand-in that this process was launched with: in an emulator it has another
/// architecture than the child, and the launcher adds its own.
std::string preloadsForChildren(const std::string& list) {
    std::istringstream entries(list);
    std::string kept;
    for (std::string entry; std::getline(entries, entry, ':');)
        if (!entry.empty() && !isBoardStandIn(entry)) kept += (kept.empty() ? "" : ":") + entry;
    return kept;
}

std::vector<std::string> environmentFor(const Start& start) {
    std::map<std::string, std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::size_t end = text.find('=');
        if (end != std::string::npos) variables[text.substr(0, end)] = text.substr(end + 1);
    }
    const auto preload = variables.find("LD_PRELOAD");
    if (preload != variables.end()) {
        preload->second = preloadsForChildren(preload->second);
        if (preload->second.empty()) variables.erase(preload);
    }
    for (const auto& [name, value] : start.environment)
        variables[name] = value;
    std::vector<std::string> texts;
    for (const auto& [name, value] : variables) {
        texts.push_back(name);
        texts.back().append("=").append(value);
    }
    return texts;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// A descriptor above those that the child gets.
Descriptor raised(int number) {
    return Descriptor(fcntl(number, F_DUPFD_CLOEXEC, 10));
}

Descriptor openFile(const std::string& path, int flags) {
    constexpr mode_t MODE = 0666;
    const Descriptor file(open(path.c_str(), flags | O_CLOEXEC, MODE));
    if (!file) throw Failure(withReason(path));
    return raised(file.get());
}

/// Between fork and exec: no memory is allocated.
[[noreturn]] void enter(char** words, char** environment, int input, int output, int errors,
                        int ready) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    if (ready >= 0) dup2(ready, READY_FD);
    execve(words[0], words, environment);
    constexpr int NOT_FOUND = 127;
    _exit(NOT_FOUND);
}

}  // namespace

Child::Child(const Start& start) {
    std::vector<std::string> words = start.words;
    std::vector<std::string> environment = environmentFor(start);
    const std::vector<char*> argv = pointersTo(words);
    const std::vector<char*> envp = pointersTo(environment);
    const Descriptor input = openFile("/dev/null", O_RDONLY);
    const Descriptor output = openFile(start.outPath, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND);
    const Descriptor errors =
        start.errPath == start.outPath
            ? raised(output.get())
            : openFile(start.errPath, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND);
    const Descriptor ready = start.readyFd < 0 ? Descriptor() : raised(start.readyFd);
    mPid = fork();
    if (mPid == 0)
        enter(const_cast<char**>(argv.data()), const_cast<char**>(envp.data()), input.get(),
              output.get(), errors.get(), ready.get());
    if (mPid < 0) throw Failure(withReason(words.front()));
}

Child::~Child() {
    kill();
}

bool Child::send(int signal) {
    return isRunning() && ::kill(mPid, signal) == 0;
}

std::optional<int> Child::waitFor(std::chrono::milliseconds bound) {
    return waitUntil(Clock::now() + bound);
}

std::optional<int> Child::waitUntil(Clock::time_point deadline) {
    std::chrono::microseconds pause{100};
    while (!mStatus) {
        int status = 0;
        const pid_t ended = waitpid(mPid, &status, WNOHANG);
        // Somebody else may have waited for all children: then nothing is known of the end.
        if (ended == mPid || (ended < 0 && errno == ECHILD)) {
            mStatus = status;
            break;
        }
        if (Clock::now() >= deadline) break;
        std::this_thread::sleep_for(pause);
        pause = std::min<std::chrono::microseconds>(2 * pause, LONGEST_PAUSE);
    }
    return mStatus;
}

int Child::kill() {
    send(SIGKILL);
    while (!mStatus)
        waitFor(std::chrono::hours(1));
    return *mStatus;
}

}  // namespace cabinaudio::testing
