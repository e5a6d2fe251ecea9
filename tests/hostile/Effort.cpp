// SPDX-License-Identifier: Apache-2.0
#include "tests/hostile/Effort.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

namespace cabinaudio::test {

namespace {

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr unsigned SLOWNESS = 4;
#elif __has_feature(address_sanitizer)
constexpr unsigned SLOWNESS = 2;
#else
constexpr unsigned SLOWNESS = 1;
#endif
#elif defined(__arm__)
constexpr unsigned SLOWNESS = 6;  // mostly in an emulator
#else
constexpr unsigned SLOWNESS = 1;
#endif

/// Of the default amount of work.
unsigned percent() {
    const char* const wanted = std::getenv("CABINAUDIO_TEST_SCALE");
    return wanted != nullptr ? static_cast<unsigned>(std::max(1, std::atoi(wanted))) : 100;
}

}  // namespace

void inParallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& body) {
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> running;
    for (unsigned i = 0; i < threads; ++i)
        running.emplace_back([&] {
            for (std::size_t at = next++; at < count; at = next++)
                body(at);
        });
    for (std::thread& thread : running)
        thread.join();
}

unsigned scaled(unsigned rounds) {
    return std::max(1U, rounds / SLOWNESS * percent() / 100);
}

std::size_t stride(std::size_t here) {
    return std::max<std::size_t>(1, here * SLOWNESS * 100 / percent());
}

}  // namespace cabinaudio::test
