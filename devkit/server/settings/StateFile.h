// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/settings/FileWriter.h"
#include "devkit/server/settings/Settings.h"

#include <string>

namespace cabinaudio::server {

/// Keeps the settings in a file, or in the target of a symbolic link. The file is read at the start
/// and written at the end, and a moment after changes, which are merged.
class StateFile {
public:
    /// Checks, before the server starts, that the path leads to a regular file or to none.
    /// @throws std::runtime_error
    static void check(const std::string& path);

    /// Applies the file's settings; without a file the defaults stay. Unknown keys are logged, and
    /// lost with the next write.
    /// @throws std::runtime_error with the error and its position in the file
    StateFile(EventLoop& loop, const std::string& path, Settings& settings);
    /// Blocks until the last change has been written.
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

private:
    void changed();
    void save();

    Settings& mSettings;
    const std::string mPath;  // resolved, not of a symbolic link
    FileWriter mWriter;
    Timer mTimer;
    bool mIsDue = false;
};

}  // namespace cabinaudio::server
