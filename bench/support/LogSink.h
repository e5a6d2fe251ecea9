// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::bench {

/// What happens to the library's log lines in this program. None is written anywhere.
enum class LogLines {
    Dropped,    ///< before anything is formatted: what remains is the library's own work
    Formatted,  ///< into a buffer, as the log library does, and dropped then
};

/// Holds from now on, for all threads. Initially Dropped.
void setLogLines(LogLines what);

}  // namespace cabinaudio::bench
