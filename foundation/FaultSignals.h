// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

namespace cabinaudio {

/// Signals raised by a fault in the thread that receives them. If they are blocked, a fault ends
/// the process without running the application's handler.
inline constexpr int FAULT_SIGNALS[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};

}  // namespace cabinaudio
