// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <cstddef>

namespace cabinaudio::test {

/// A stack of 1 MiB, with or without its guard page counts, or what a sanitizer makes of it.
constexpr bool isLibraryStack(std::size_t bytes) {
    return bytes >= std::size_t{900} * 1024 && bytes <= std::size_t{1100} * 1024;
}

/// Size of the calling thread's stack in bytes, 0 when it is not known.
[[nodiscard]] inline std::size_t stackBytes() {
    pthread_attr_t attr;
    if (pthread_getattr_np(pthread_self(), &attr) != 0) return 0;
    std::size_t bytes = 0;
    if (pthread_attr_getstacksize(&attr, &bytes) != 0) bytes = 0;
    pthread_attr_destroy(&attr);
    return bytes;
}

}  // namespace cabinaudio::test
