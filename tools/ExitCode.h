// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::tool {

/// Exit status of every sub-command. The numbers are part of the interface.
enum class ExitCode : int {
    Done = 0,
    Failed = 1,
    Usage = 2,
    NoServer = 3,
    TimedOut = 4,
    CheckNotMet = 5,
};

}  // namespace cabinaudio::tool
