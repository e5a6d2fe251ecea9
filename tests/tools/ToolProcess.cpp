// SPDX-License-Identifier: Apache-2.0
#include "tests/tools/ToolProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <stdexcept>

extern char** environ;  // NOLINT(readability-redundant-declaration): not in every C library

namespace cabinaudio::test {

namespace {

struct Ends {
    int reading;
    int writing;
};

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

Ends makePipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) fail("pipe2");
    return {ends[0], ends[1]};
}

Ends makeTerminal() {
    int master = -1;
    int slave = -1;
    struct winsize size = {24, 80, 0, 0};
    if (openpty(&master, &slave, nullptr, nullptr, &size) != 0) fail("openpty");
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(slave, F_SETFD, FD_CLOEXEC);
    return {master, slave};
}

/// The file actions and attributes of one start.
class Spawn {
public:
    Spawn() {
        posix_spawn_file_actions_init(&mActions);
        posix_spawnattr_init(&mAttributes);
        // A test may run where the shell ignores SIGINT.
        sigset_t all;
        sigfillset(&all);
        posix_spawnattr_setsigdefault(&mAttributes, &all);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&mAttributes, &none);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~Spawn() {
        posix_spawn_file_actions_destroy(&mActions);
        posix_spawnattr_destroy(&mAttributes);
    }
    Spawn(const Spawn&) = delete;
    Spawn& operator=(const Spawn&) = delete;

    void open(int descriptor, const std::string& path) {
        posix_spawn_file_actions_addopen(&mActions, descriptor, path.c_str(), O_RDONLY, 0);
    }
    void use(int from, int descriptor) {
        posix_spawn_file_actions_adddup2(&mActions, from, descriptor);
    }
    void close(int descriptor) { posix_spawn_file_actions_addclose(&mActions, descriptor); }

    pid_t run(std::vector<std::string> words, std::vector<std::string> variables) {
        pid_t pid = -1;
        const int error = posix_spawn(&pid, words.front().c_str(), &mActions, &mAttributes,
                                      pointers(words).data(), pointers(variables).data());
        if (error != 0) throw std::runtime_error(words.front() + ": " + std::strerror(error));
        return pid;
    }

private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> all;
        all.reserve(texts.size() + 1);
        for (std::string& text : texts)
            all.push_back(text.data());
        all.push_back(nullptr);
        return all;
    }

    posix_spawn_file_actions_t mActions;
    posix_spawnattr_t mAttributes;
};

std::vector<std::string> environmentWith(const ToolSetup& setup) {
    std::vector<std::string> all;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        const std::string name = text.substr(0, text.find('='));
        const bool replaced = std::any_of(setup.environment.begin(), setup.environment.end(),
                                          [&](const auto& other) { return other.first == name; });
        if (!replaced && name != "NO_COLOR" && name != "TERM") all.push_back(text);
    }
    for (const auto& [name, value] : setup.environment)
        all.push_back(name + "=" + value);
    return all;
}

std::string launcherPath() {
    const char* path = std::getenv("CABINAUDIO_LAUNCHER");
    return path != nullptr && *path != '\0' ? path : CABINAUDIO_TEST_LAUNCHER;
}

std::vector<std::string> commandLine(const std::vector<std::string>& arguments,
                                     const ToolSetup& setup) {
    std::vector<std::string> words;
    if (toolIsEmulated()) words = {launcherPath(), "--"};
    words.push_back(setup.program.empty() ? toolPath() : setup.program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

}  // namespace

std::string ToolResult::text() const {
    return "exit code " + std::to_string(exitCode) + ", signal " + std::to_string(signal) +
           (overdue ? ", OVERDUE" : "") + ", " + std::to_string(took.count()) + " ms\n--- out:\n" +
           out + "--- err:\n" + err;
}

ToolProcess::ToolProcess(const std::vector<std::string>& arguments, const ToolSetup& setup) {
    const Ends out = setup.outOnTerminal ? makeTerminal() : makePipe();
    const Ends err = setup.errOnTerminal ? makeTerminal() : makePipe();
    Spawn spawn;
    spawn.open(STDIN_FILENO, setup.input.empty() ? "/dev/null" : setup.input);
    spawn.use(out.writing, STDOUT_FILENO);
    spawn.use(err.writing, STDERR_FILENO);
    for (const int descriptor : setup.closed)
        spawn.close(descriptor);
    mStart = Clock::now();
    mPid = spawn.run(commandLine(arguments, setup), environmentWith(setup));
    close(out.writing);
    close(err.writing);
    mOut.descriptor = out.reading;
    mErr.descriptor = err.reading;
}

ToolProcess::~ToolProcess() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    for (const Stream* stream : {&mOut, &mErr})
        if (stream->descriptor >= 0) close(stream->descriptor);
}

void ToolProcess::send(int signal) const {
    if (mPid > 0) kill(mPid, signal);
}

bool ToolProcess::readSome(Clock::time_point deadline) {
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
            close(streams[i]->descriptor);
            streams[i]->descriptor = -1;
        }
    }
    return true;
}

bool ToolProcess::waitForErr(const std::string& text, std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    while (mErr.text.find(text) == std::string::npos)
        if (!readSome(deadline)) return false;
    return true;
}

ToolResult ToolProcess::wait(std::chrono::milliseconds bound) {
    const Clock::time_point deadline = Clock::now() + bound;
    while (readSome(deadline)) {
    }
    ToolResult result;
    result.overdue = mOut.descriptor >= 0 || mErr.descriptor >= 0;
    if (result.overdue) kill(mPid, SIGKILL);
    int status = 0;
    waitpid(mPid, &status, 0);
    mPid = -1;
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - mStart);
    result.out = mOut.text;
    result.err = mErr.text;
    return result;
}

ToolResult runTool(const std::vector<std::string>& arguments, const ToolSetup& setup) {
    return ToolProcess(arguments, setup).wait();
}

std::string toolPath() {
    return CABINAUDIO_TEST_TOOL;
}

std::string wordsOf(const std::string& option) {
    std::string words;
    std::copy_if(option.begin(), option.end(), std::back_inserter(words),
                 [](unsigned char letter) { return std::isalpha(letter) != 0; });
    return words;
}

bool toolIsEmulated() {
    return sizeof CABINAUDIO_TEST_LAUNCHER > 1;
}

}  // namespace cabinaudio::test
