// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace cabinaudio::test {

/// The user that attacks come from.
inline constexpr uid_t NOBODY = 65534;

/// Does something in a child process that is user "nobody". For programs with one thread.
/// @param work  callable that returns whether it has succeeded
/// @return the same, or false when this process cannot have such a child
template <typename Work>
bool asNobody(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        const bool isNobody = setgroups(0, nullptr) == 0 &&
                              setresgid(NOBODY, NOBODY, NOBODY) == 0 &&
                              setresuid(NOBODY, NOBODY, NOBODY) == 0;
        _exit(isNobody && work() ? 0 : 1);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return child > 0 && status == 0;
}

}  // namespace cabinaudio::test
