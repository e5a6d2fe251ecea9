// SPDX-License-Identifier: Apache-2.0
#include "tests/kill/PointServer.h"

#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace cabinaudio::test {

namespace {

pid_t start(const std::vector<std::string>& words, int input) {
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    pid_t pid = -1;
    const int error = posix_spawnp(&pid, arguments[0], &files, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) throw std::runtime_error("cannot start " + words[0]);
    return pid;
}

}  // namespace

PointServer::PointServer(const std::string& kind, int message, Cut cut) {
    std::istringstream command(KILL_SERVER);
    std::vector<std::string> words;
    for (std::string word; command >> word;)
        words.push_back(word);
    words.insert(words.end(),
                 {std::to_string(message), std::to_string(static_cast<int>(cut)), kind});
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    mPid = start(words, ends[0]);
    close(ends[0]);
    mInput = ends[1];
    if (!isSuspended()) throw std::runtime_error("the server does not come up");
}

PointServer::~PointServer() {
    kill();
    close(mInput);
}

bool PointServer::isSuspended() {
    return eventually([this] { return isSuspendedNow(); }, std::chrono::minutes(1));
}

bool PointServer::isSuspendedNow() {
    int status = 0;
    return waitpid(mPid, &status, WUNTRACED | WNOHANG) == mPid && WIFSTOPPED(status);
}

void PointServer::stop() {
    ::kill(mPid, SIGSTOP);
    if (!isSuspended()) throw std::runtime_error("the server does not stop");
}

void PointServer::resume() {
    ::kill(mPid, SIGCONT);
}

void PointServer::kill() {
    if (mPid < 0) return;
    ::kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
    mPid = -1;
}

}  // namespace cabinaudio::test
