// SPDX-License-Identifier: Apache-2.0
#include "python/src/Reaper.h"

#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::python {

namespace {

std::mutex gLock;
std::vector<std::thread> gThreads;

}  // namespace

void destroyElsewhere(std::unique_ptr<audio::QVAudioTrack> stream) {
    const std::scoped_lock lock(gLock);
    gThreads.emplace_back([destroyed = std::move(stream)]() mutable { destroyed.reset(); });
}

void waitForDestructions() {
    std::vector<std::thread> threads;
    {
        const std::scoped_lock lock(gLock);
        threads.swap(gThreads);
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace cabinaudio::python
