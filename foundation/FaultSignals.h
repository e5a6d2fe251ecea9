// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

namespace cabinaudio {

/// Signals of a fault in the thread that gets them. Where they are blocked, a fault ends the
/// process without the application's handler.
inline constexpr int FAULT_SIGNALS[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};

}  // namespace cabinaudio
