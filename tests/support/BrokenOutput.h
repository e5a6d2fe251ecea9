// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

/// Standard output that takes nothing, for Start::inChild.
namespace cabinaudio::test {

/// Present on every Linux; each write to it fails as on a full disk.
inline constexpr char FULL_DISK[] = "/dev/full";

inline void printToFullDisk() {
    dup2(open(FULL_DISK, O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
}

/// @param onSignal  SIG_DFL or SIG_IGN, for the signal that the write raises
inline void printToClosedPipe(void (*onSignal)(int)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) _exit(127);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    std::signal(SIGPIPE, onSignal);
}

}  // namespace cabinaudio::test
