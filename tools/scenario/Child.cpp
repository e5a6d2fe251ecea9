// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Child.h"

#include "devkit/process/Signals.h"
#include "tools/Failure.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace cabinaudio::tool::scenario {

namespace {

/// Closed by the destructor. Above the numbers that the child gets.
class Descriptor {
public:
    explicit Descriptor(int descriptor) : mDescriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 10)) {
        close(descriptor);
    }
    ~Descriptor() { close(mDescriptor); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int get() const { return mDescriptor; }

private:
    int mDescriptor;
};

int opened(const std::string& file, int flags) {
    const int descriptor = open(file.c_str(), flags | O_CLOEXEC, 0666);
    if (descriptor < 0) throw Failure("cannot open " + file + ": " + std::strerror(errno));
    return descriptor;
}

std::vector<char*> pointersTo(Words& words) {
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

Words environmentWith(const std::vector<std::pair<std::string, std::string>>& variables) {
    Words all;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::string name = text.substr(0, text.find('='));
        if (std::none_of(variables.begin(), variables.end(),
                         [&](const auto& one) { return one.first == name; }))
            all.push_back(text);
    }
    for (const auto& [name, value] : variables)
        all.push_back(name + "=" + value);
    return all;
}

struct Prepared {
    char** words;
    char** environment;
    int input, output, error, ready;
    pid_t parent;
};

[[noreturn]] void becomeProgram(const Prepared& prepared) {
    // Nobody else would end the child if this process were killed.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != prepared.parent) _exit(1);
    setpgid(0, 0);
    forgetSignals();
    dup2(prepared.input, STDIN_FILENO);
    dup2(prepared.output, STDOUT_FILENO);
    dup2(prepared.error, STDERR_FILENO);
    if (prepared.ready >= 0) dup2(prepared.ready, Child::READY_FD);
    execve(prepared.words[0], prepared.words, prepared.environment);
    dprintf(STDERR_FILENO, "cannot run %s: %s\n", prepared.words[0], std::strerror(errno));
    _exit(127);
}

}  // namespace

Child::Child(const ChildStart& start) {
    const Descriptor input(opened("/dev/null", O_RDONLY));
    constexpr int APPEND = O_WRONLY | O_CREAT | O_APPEND;
    const Descriptor output(opened(start.outputFile, APPEND));
    const Descriptor error(opened(start.errorFile, APPEND));
    Words words = start.words;
    Words variables = environmentWith(start.variables);
    const std::vector<char*> arguments = pointersTo(words);
    const std::vector<char*> environment = pointersTo(variables);
    const Prepared prepared = {const_cast<char**>(arguments.data()),
                               const_cast<char**>(environment.data()),
                               input.get(),
                               output.get(),
                               error.get(),
                               start.readyFd,
                               getpid()};
    mPid = fork();
    if (mPid == 0) becomeProgram(prepared);
    if (mPid < 0) throw Failure(std::string("cannot make a process: ") + std::strerror(errno));
    setpgid(mPid, mPid);  // also here, because either process may be the first to run
}

Child::~Child() {
    sendToGroup(SIGKILL);
    int status = 0;
    while (!mStatus && waitpid(mPid, &status, 0) < 0 && errno == EINTR) {
    }
}

std::optional<int> Child::ended() {
    int status = 0;
    if (!mStatus && waitpid(mPid, &status, WNOHANG) == mPid) mStatus = status;
    return mStatus;
}

void Child::send(int signal) const {
    if (!mStatus) kill(mPid, signal);
}

void Child::sendToGroup(int signal) const {
    kill(-mPid, signal);
}

}  // namespace cabinaudio::tool::scenario
