// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"

namespace cabinaudio::tool {

/// Sends the library's log lines to stderr (-v), to the end of a file (--log), to both, or nowhere
/// (the default). Stays in effect until the process ends.
/// @throws Failure when the file cannot be opened
void routeLibraryLog(const CommonOptions& options);

/// Adds an error line of this program to the places where the library's lines go.
void logError(const std::string& text);

/// Drops the library's log lines during its lifetime. One object at a time, one thread.
class SilencedLibraryLog {
public:
    SilencedLibraryLog();
    ~SilencedLibraryLog();
    SilencedLibraryLog(const SilencedLibraryLog&) = delete;
    SilencedLibraryLog& operator=(const SilencedLibraryLog&) = delete;
};

}  // namespace cabinaudio::tool
