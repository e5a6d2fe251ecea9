// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/User.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace cabinaudio::test {

/// Does something in a child process that is user "nobody". For programs with one thread.
/// @param work  callable that returns whether it has succeeded
/// @return the same, or false when this process cannot have such a child
template <typename Work>
bool asNobody(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(become(User{}) && work() ? 0 : 1);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && status == 0;
}

}  // namespace cabinaudio::test
