// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace cabinaudio::run {

/// fork(), @throws Refusal.
pid_t forkChild();

/// Waits for the end of a child and leaves no trace of it: the process becomes the
/// program, which must find neither a child nor a pending SIGCHLD.
void reapChild(pid_t child);

}  // namespace cabinaudio::run
