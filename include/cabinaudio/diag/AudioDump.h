// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/diag/AudioConfig.h>
#include <cabinaudio/diag/AudioOfstream.h>
#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioTypes.h>
#include <cabinaudio/foundation/ThreadSafety.h>

/// Copies a stream's bytes into a raw file for diagnosis, when the diagnostics settings ask for it:
/// "<directory>/<tag>_<name>_<usage>_<microseconds>.pcm".
///
/// Threads   write() from one thread at a time; resume() from any thread, but not during a write().
/// Failure   Only logged; a dump that cannot be written drops the bytes.
class CABINAUDIO_API AudioDump {
public:
    /// Dumps when the settings have an item for the name of the tag and `usage`. The settings are
    /// read once, here. The usage "driver" starts paused and opens its file with resume(true).
    /// @param tag     of the stream
    /// @param name    of the stream, a part of the file's name
    /// @param usage   component that dumps, "client" for this library's streams
    /// @param append  append to an existing file of the same name instead of truncating it
    AudioDump(AudioTagType tag, const char* name, const char* usage, bool append);

    /// Dumps into the directory `dumpFullPath` (its last level is created) whatever the settings
    /// say; the file name begins with `desc`.
    AudioDump(const char* dumpFullPath, const char* desc, bool append);

    /// Flushes the remaining data to the disk and closes the file.
    ~AudioDump();
    AudioDump(const AudioDump&) = delete;
    AudioDump& operator=(const AudioDump&) = delete;

    /// Adds `len` bytes; ignored while there is no file, while paused, and for null or no data.
    void write(const unsigned char* data, unsigned len);

    /// Pauses (false) or resumes (true). Resuming while a file is open ends the dump, because that
    /// file is not closed before the new one is opened: use it only to start a paused "driver"
    /// dump.
    void resume(bool on);

private:
    /// An inert dump, with the settings read.
    CABINAUDIO_LOCAL explicit AudioDump(bool append);
    CABINAUDIO_LOCAL void _init(const char* dir, const char* tag, const char* name,
                                const char* usage, bool append) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _deinit() CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    char mTag[64];
    char mName[64];
    char mUsage[64];
    bool mAppend;

    // Has its own synchronization.
    AudioConfig mConfig;

    // Guarded by mLock; write() relies on no resume() during a write instead.
    bool mEnabled CABINAUDIO_GUARDED_BY(mLock);
    bool mRunning CABINAUDIO_GUARDED_BY(mLock);
    AudioOfstream mFile CABINAUDIO_GUARDED_BY(mLock);

    // Has its own synchronization.
    AudioMutex mLock;
};
