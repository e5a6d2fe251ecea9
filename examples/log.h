// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

#include <cstring>

/// The library logs to the Android log, which on a desktop is stderr. Call this first in main(): it
/// hides those lines unless the first argument is -v, and removes that argument.
inline void hideLibraryLog(int& argc, char**& argv) {
    if (argc > 1 && std::strcmp(argv[1], "-v") == 0) {
        argv[1] = argv[0];
        --argc;
        ++argv;
        return;
    }
    // The function comes with the library: looked up, it needs no package of the log library. A
    // program that links the log library calls it, with ANDROID_LOG_SILENT of <android/log.h>.
    constexpr int SILENT = 8;
    using SetPriority = int(int);
    auto* const setMinimumPriority =
        reinterpret_cast<SetPriority*>(dlsym(RTLD_DEFAULT, "__android_log_set_minimum_priority"));
    if (setMinimumPriority != nullptr) setMinimumPriority(SILENT);
}
