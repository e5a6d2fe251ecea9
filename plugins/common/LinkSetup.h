// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::plugin {

/// Prepares the library for a program that does not know it. To be called before each first object
/// of a plug-in; any thread, and only the first call has an effect.
///
/// Adds to the process's link policy what is missing: ordinary threads are allowed, requests end
/// when the server is lost, and wait for a reply for 2 s at most. Nothing that the program has set
/// is changed.
///
/// Keeps the library's log to errors, unless the program uses the library itself or the environment
/// variable CABINAUDIO_LOG is set.
void prepareLibrary();

/// Keeps the library's errors out of the log, too: for a mixer, which draws on its terminal. Same
/// exceptions as above.
void silenceLog();

/// While it exists the library logs nothing. Same exceptions as above.
class SilentLog {
public:
    SilentLog();
    ~SilentLog();
    SilentLog(const SilentLog&) = delete;
    SilentLog& operator=(const SilentLog&) = delete;

private:
    int mBefore;
};

}  // namespace cabinaudio::plugin
