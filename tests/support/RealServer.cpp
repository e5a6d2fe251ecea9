// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RealServer.h"

#include "tests/support/Files.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Metronome.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

using server::UniqueFd;

// Under an emulator, and with sanitizers, on a busy machine.
constexpr int PATIENCE_MS = 60000;
// Where the child finds its end of the pipe; below are only its standard streams.
constexpr int READY_FD = 3;
constexpr int LIFE_FD = 4;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("development server: " + what + ": " + std::strerror(errno));
}

/// A pipe whose descriptors lie above those that the child gets.
void makePipe(UniqueFd& readEnd, UniqueFd& writeEnd) {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe");
    readEnd = UniqueFd(fcntl(ends[0], F_DUPFD_CLOEXEC, 10));
    writeEnd = UniqueFd(fcntl(ends[1], F_DUPFD_CLOEXEC, 10));
    close(ends[0]);
    close(ends[1]);
}

[[noreturn]] void runServer(char** argv, int null, int output, int ready, int life) {
    // Nobody else would end it if the test were killed meanwhile, least of all while it is stopped.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(null, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    dup2(ready, READY_FD);
    dup2(life, LIFE_FD);
    execv(argv[0], argv);
    _exit(127);
}

pid_t spawn(std::vector<std::string> words, int output, int ready, int life) {
    // Above those that the child gets, as the others are.
    const UniqueFd null(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const UniqueFd input(fcntl(null.get(), F_DUPFD_CLOEXEC, 10));
    const UniqueFd said(fcntl(output, F_DUPFD_CLOEXEC, 10));
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) runServer(argv.data(), input.get(), said.get(), ready, life);
    if (pid < 0) fail(words.front());
    return pid;
}

/// A server that was killed leaves the file that stands for its physical memory.
void removePhysicalMemory() {
    const char* instance = std::getenv("CABINAUDIO_INSTANCE");
    if (instance == nullptr || *instance == '\0') return;
    const std::string file = "/dev/shm/cabinaudio-physmem-" + std::to_string(geteuid()) + "-";
    unlink((file + instance).c_str());
}

}  // namespace

std::string RealServer::path() {
    const char* const path = std::getenv("CABINAUDIO_SERVER");
    return path != nullptr && *path != '\0' ? path : CABINAUDIO_TEST_SERVER;
}

RealServer::RealServer(std::vector<std::string> arguments) {
    if (std::find(arguments.begin(), arguments.end(), "--fast") == arguments.end())
        Metronome::start();
    const char* directory = std::getenv("TMPDIR");
    mOutputFile =
        std::string(directory != nullptr ? directory : "/tmp") + "/cabinaudio-server.XXXXXX";
    const UniqueFd output(mkostemp(mOutputFile.data(), O_CLOEXEC));
    if (output.get() < 0) fail(mOutputFile);
    UniqueFd ready;
    UniqueFd readyOfChild;
    UniqueFd life;
    UniqueFd lifeOfChild;
    makePipe(ready, readyOfChild);
    makePipe(life, lifeOfChild);
    arguments.insert(arguments.begin(), {path(), "--ready-fd", std::to_string(READY_FD)});
    mPid = spawn(std::move(arguments), output.get(), readyOfChild.get(), lifeOfChild.get());
    readyOfChild.reset();
    lifeOfChild.reset();
    mLifeFd = fcntl(life.get(), F_DUPFD_CLOEXEC, 0);

    std::array<char, 8> text = {};
    if (!isReadable(ready.get(), PATIENCE_MS) || read(ready.get(), text.data(), text.size()) <= 0) {
        ::kill(mPid, SIGKILL);
        const std::string said = this->output();
        wait();
        unlink(mOutputFile.c_str());
        throw std::runtime_error("development server: did not come up: " + said);
    }
}

RealServer::~RealServer() {
    // Among others, one that has lost memory ends with a status of its own under a sanitizer.
    const int status = mPid > 0 ? stop() : 0;
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        ADD_FAILURE() << "the development server ended with status " << WEXITSTATUS(status) << ":\n"
                      << output();
    unlink(mOutputFile.c_str());
}

std::string RealServer::command(const std::string& line) const {
    const UniqueFd socket = connectTo(CONTROL_SOCKET);
    const std::string request = line + "\n";
    if (send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL) < 0) fail("send");
    std::string answer;
    while (answer.empty() || answer.back() != '\n') {
        std::array<char, 4096> chunk = {};
        if (!isReadable(socket.get(), PATIENCE_MS)) throw std::runtime_error("no answer: " + line);
        const ssize_t count = recv(socket.get(), chunk.data(), chunk.size(), 0);
        if (count <= 0) throw std::runtime_error("no answer: " + line);
        answer.append(chunk.data(), static_cast<std::size_t>(count));
    }
    answer.pop_back();
    return answer;
}

void RealServer::kill(int signal) const {
    if (mPid > 0) ::kill(mPid, signal);
}

int RealServer::stop() {
    kill(SIGTERM);
    return wait();
}

/// The server holds the other end of a pipe until it is gone. One that does not end is killed,
/// which its wait status then says.
int RealServer::wait() {
    if (mPid <= 0) return mWaitStatus;
    if (!isReadable(mLifeFd, PATIENCE_MS)) ::kill(mPid, SIGKILL);
    while (waitpid(mPid, &mWaitStatus, 0) < 0 && errno == EINTR) {
    }
    mPid = -1;
    close(mLifeFd);
    if (!WIFEXITED(mWaitStatus)) removePhysicalMemory();
    return mWaitStatus;
}

std::string RealServer::output() const {
    return contentsOf(mOutputFile);
}

}  // namespace cabinaudio::test
