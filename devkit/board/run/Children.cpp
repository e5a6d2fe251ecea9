// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Children.h"

#include "devkit/board/run/Refusal.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace cabinaudio::run {

pid_t forkChild() {
    const pid_t child = fork();
    if (child < 0) throw Refusal(withReason("cannot fork"));
    return child;
}

void reapChild(pid_t child) {
    // ECHILD: SIGCHLD is ignored, so the kernel has already reaped the child.
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    // A blocked SIGCHLD would stay pending, even across exec.
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    if (sigismember(&blocked, SIGCHLD) == 1) {
        sigset_t childSignal;
        sigemptyset(&childSignal);
        sigaddset(&childSignal, SIGCHLD);
        const timespec atOnce{};
        sigtimedwait(&childSignal, nullptr, &atOnce);
    }
}

}  // namespace cabinaudio::run
