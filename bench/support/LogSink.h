// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::bench {

/// Treatment of the library's log lines in this program. They are never written.
enum class LogLines {
    Dropped,    // before formatting: only the library's own work remains
    Formatted,  // into a buffer, as the log library does, then dropped
};

/// Applies from now on, to all threads. Initially Dropped.
void setLogLines(LogLines what);

}  // namespace cabinaudio::bench
