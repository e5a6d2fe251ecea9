// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace cabinaudio::run {

/// fork(), @throws Refusal.
pid_t forkChild();

/// Reaps a child and clears its pending SIGCHLD: this process becomes the program, which must find
/// neither.
void reapChild(pid_t child);

}  // namespace cabinaudio::run
