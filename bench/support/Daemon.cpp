// SPDX-License-Identifier: Apache-2.0
#include "bench/support/Daemon.h"

#include "bench/support/Clock.h"
#include "bench/support/Errors.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

constexpr std::uint64_t START_LIMIT_NS = 5'000'000'000;
constexpr std::uint64_t END_LIMIT_NS = 5'000'000'000;
constexpr useconds_t TRY_PAUSE_US = 20'000;

std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> result;
    for (std::string& word : words)
        result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

[[noreturn]] void become(const std::vector<char*>& command, std::vector<std::string>& environment,
                         int output) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    for (std::string& variable : environment)
        putenv(variable.data());
    execvp(command.front(), command.data());
    _exit(127);
}

}  // namespace

Daemon::Daemon(const Start& start) : mName(start.command.front()), mLogFile(start.logFile) {
    std::vector<std::string> words = start.command;
    std::vector<std::string> variables = start.environment;
    const std::vector<char*> arguments = pointers(words);
    const int output =
        checked(open(mLogFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), "open");
    mProcess = checked(fork(), "fork");
    if (mProcess == 0) become(arguments, variables, output);
    ::close(output);
}

Daemon::~Daemon() {
    if (mProcess < 0) return;
    kill(mProcess, SIGTERM);  // lets servers remove their shared memory
    const std::uint64_t limit = nowNs() + END_LIMIT_NS;
    while (waitpid(mProcess, nullptr, WNOHANG) == 0) {
        if (nowNs() > limit) kill(mProcess, SIGKILL);
        usleep(TRY_PAUSE_US);
    }
}

void Daemon::waitFor(const std::function<bool()>& isReady) {
    const std::uint64_t limit = nowNs() + START_LIMIT_NS;
    while (!isReady()) {
        int status = 0;
        if (waitpid(mProcess, &status, WNOHANG) == mProcess) {
            mProcess = -1;
            if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
                throw std::runtime_error(mName + " is not installed");
            throw std::runtime_error(mName + " has ended: " + lastWords());
        }
        if (nowNs() > limit) throw std::runtime_error(mName + " does not answer: " + lastWords());
        usleep(TRY_PAUSE_US);
    }
}

std::string Daemon::lastWords() const {
    std::ifstream file(mLogFile);
    std::string last = "no output";
    for (std::string line; std::getline(file, line);)
        if (!line.empty()) last = line;
    return last;
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace cabinaudio::bench
