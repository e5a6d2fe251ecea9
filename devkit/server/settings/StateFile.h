// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/settings/FileWriter.h"
#include "devkit/server/settings/Settings.h"

#include <string>

namespace cabinaudio::server {

/// Keeps the settings in a file, or in the file that a symbolic link leads to. It is read at the
/// beginning and written a moment after changes, however many they are, and at the end.
class StateFile {
public:
    /// What can be seen before there is a server: that the path leads to a regular file or to none.
    /// @throws std::runtime_error
    static void check(const std::string& path);

    /// Sets what the file says; without a file everything stays as it is. Unknown keys are logged,
    /// and gone with the next change.
    /// @throws std::runtime_error saying what is wrong with the file, and where
    StateFile(EventLoop& loop, const std::string& path, Settings& settings);
    /// Returns when the last change has been written.
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

private:
    void changed();
    void save();

    Settings& mSettings;
    const std::string mPath;  // of the file itself
    FileWriter mWriter;
    Timer mTimer;
    bool mIsDue = false;
};

}  // namespace cabinaudio::server
