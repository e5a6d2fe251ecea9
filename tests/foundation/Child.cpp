// SPDX-License-Identifier: Apache-2.0
#include "tests/foundation/Child.h"

#include <android/log.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace cabinaudio::test {

namespace {

[[noreturn]] void runChild(int output, void (*body)()) {
    const struct rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    dup2(output, STDERR_FILENO);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger([](const struct __android_logger_data* data, const char* text) {
        dprintf(STDERR_FILENO, "%d %s", data->priority, text);
    });
    body();
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

std::string readAll(int descriptor) {
    std::string all;
    char piece[4096];
    for (ssize_t got; (got = read(descriptor, piece, sizeof(piece))) > 0;)
        all.append(piece, static_cast<std::size_t>(got));
    return all;
}

}  // namespace

bool ChildEnd::passed() const {
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool ChildEnd::killedBy(int signal) const {
    return WIFSIGNALED(status) && WTERMSIG(status) == signal;
}

ChildEnd runInChild(void (*body)()) {
    int ends[2];
    std::fflush(nullptr);
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) runChild(ends[1], body);
    close(ends[1]);
    ChildEnd end = {};
    end.output = readAll(ends[0]);
    close(ends[0]);
    if (waitpid(child, &end.status, 0) != child) throw std::runtime_error("waitpid");
    return end;
}

}  // namespace cabinaudio::test
