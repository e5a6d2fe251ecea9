// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Mutex.h"

#include <functional>
#include <string>
#include <thread>

namespace cabinaudio::server {

/// Replaces a file's content repeatedly on its own thread, because a disk may take longer than a
/// period of sound. Readers see the old or the new content, never a partial one, even after a power
/// failure. Write errors are logged.
class FileWriter {
public:
    /// @param path  of the file itself, not of a symbolic link to it
    explicit FileWriter(std::string path);
    /// Blocks until everything has been written.
    ~FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    /// Produces the content, called on the writer's thread.
    using Content = std::function<std::string()>;

    /// Returns at once. A newer content replaces one whose writing has not begun.
    void write(Content content);

private:
    void work() CABINAUDIO_EXCLUDES(mLock);

    // Set at construction.
    const std::string mPath;

    // Has its own synchronization.
    Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    Content mContent CABINAUDIO_GUARDED_BY(mLock);  // to be written; empty if none
    bool mIsOver CABINAUDIO_GUARDED_BY(mLock) = false;

    std::thread mThread;
};

}  // namespace cabinaudio::server
