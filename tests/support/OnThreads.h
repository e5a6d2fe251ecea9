// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <thread>
#include <vector>

namespace cabinaudio::test {

/// Runs `body(index)` on so many threads at the same time, and returns when all have ended.
template <typename Body>
void onThreads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index)
        threads.emplace_back([&body, index] { body(index); });
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace cabinaudio::test
