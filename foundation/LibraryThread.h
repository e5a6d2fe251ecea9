// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioThread.h>

#include <cstddef>

namespace cabinaudio {

/// How the library starts its own threads.
struct LibraryThread {
    /// Enough for the bodies of the library's threads and for the callbacks that they call. Each
    /// stream has three threads, and the target has 3 GiB of address space: with the system's 8 MiB
    /// per stack, not even 128 streams would fit.
    static constexpr std::size_t STACK_BYTES = std::size_t{1024} * 1024;

    /// AudioThread::start() with a stack of STACK_BYTES instead of the system's default.
    static void start(AudioThread& thread) { start(thread, STACK_BYTES); }

private:
    friend class ::AudioThread;

    /// @param stackBytes  0: the system's default
    static void start(AudioThread& thread, std::size_t stackBytes);
};

}  // namespace cabinaudio
