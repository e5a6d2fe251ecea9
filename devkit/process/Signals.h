// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

namespace cabinaudio {

/// In a child, before it becomes a program: no signal is handled, ignored or blocked, as programs
/// expect it at their start. What a process ignores or blocks would stay so for its children: a
/// shell, for one, lets its background processes ignore SIGINT. Takes no memory and no lock.
inline void forgetSignals() {
    for (int signal = 1; signal < NSIG; ++signal)
        std::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace cabinaudio
