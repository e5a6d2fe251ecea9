// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/Mutex.h"

#include <functional>
#include <string>
#include <thread>

namespace cabinaudio::server {

/// Replaces the content of a file, again and again, on a thread of its own: a disk may take longer
/// than a period of sound. Whoever reads the file sees an old or a new content, never a part of
/// one, also when the machine fails in the middle. What cannot be written is logged.
class FileWriter {
public:
    /// @param path  of the file itself, not of a link to it
    explicit FileWriter(std::string path);
    /// Returns when everything has been written.
    ~FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    /// Makes a content, on the thread.
    using Content = std::function<std::string()>;

    /// Returns at once. A content that has not been begun with is left out for a newer one.
    void write(Content content);

private:
    void work() CABINAUDIO_EXCLUDES(mLock);

    // Set at construction.
    const std::string mPath;

    // Has its own synchronization.
    Mutex mLock;
    Condition mChanged;

    // Guarded by mLock.
    Content mContent CABINAUDIO_GUARDED_BY(mLock);  // to be written; empty for nothing
    bool mIsOver CABINAUDIO_GUARDED_BY(mLock) = false;

    std::thread mThread;
};

}  // namespace cabinaudio::server
