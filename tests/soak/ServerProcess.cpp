// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/ServerProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace cabinaudio::test {

namespace {

constexpr int TALLY = 3;

[[noreturn]] void giveUp(const char* what) {
    std::fprintf(stderr, "cabinaudio-soak: %s\n", what);
    std::exit(1);
}

/// Removes rings that a killed server has left; only this process uses this instance. The memory
/// that stands for the physical one is removed with the last server only: this process has it
/// mapped.
void removeNames(bool isLast) {
    const std::string instance = std::getenv("CABINAUDIO_INSTANCE");
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("cabinaudio." + instance + ".") ||
            (isLast && name.starts_with("cabinaudio-physmem-") && name.ends_with("-" + instance)))
            std::filesystem::remove(entry.path(), error);
    }
}

}  // namespace

ServerProcess::ServerProcess(int tally, unsigned seed) : mTally(tally), mRandom(seed) {
    start();
}

void ServerProcess::start() {
    std::istringstream command(SOAK_SERVER);
    std::vector<std::string> words;
    for (std::string word; command >> word;)
        words.push_back(word);
    words.push_back(std::to_string(TALLY));
    words.push_back(std::to_string(mRandom()));
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    int input[2], output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) giveUp("no pipe");
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, mTally, TALLY);
    if (posix_spawnp(&mPid, arguments[0], &files, nullptr, arguments.data(), environ) != 0)
        giveUp("cannot start soak-server");
    posix_spawn_file_actions_destroy(&files);
    close(input[0]);
    close(output[1]);
    mInput = input[1];
    char ready[8];
    if (read(output[0], ready, sizeof ready) <= 0) giveUp("soak-server does not come up");
    close(output[0]);
    mState |= 1;
}

void ServerProcess::replace() {
    // First, so that a client that fails finds the reason.
    mState = (mState / 2 + 1) * 2;
    ++mKills;
    kill();
    removeNames(false);
    std::this_thread::sleep_for(std::chrono::milliseconds(mRandom() % 50));
    start();
}

void ServerProcess::suspend(std::chrono::milliseconds time) {
    ++mStops;
    ::kill(mPid, SIGSTOP);
    std::this_thread::sleep_for(time);
    ::kill(mPid, SIGCONT);
}

void ServerProcess::kill() {
    ::kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
    close(mInput);
}

void ServerProcess::end() {
    if (mPid < 0) return;
    kill();
    mPid = -1;
    removeNames(true);
}

}  // namespace cabinaudio::test
