// SPDX-License-Identifier: Apache-2.0
#include "python/src/Reaper.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace cabinaudio::python {

namespace {

struct Destruction {
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> isOver;
};

struct Destructions {
    std::mutex lock;
    std::vector<Destruction> all;
};

/// Never freed: in the child of a fork the lock may be taken, and the threads are the parent's.
std::atomic<Destructions*> gDestructions{new Destructions};

/// Threads that have ended keep their stacks until they are joined.
void joinEnded(std::vector<Destruction>& all) {
    std::erase_if(all, [](Destruction& one) {
        if (!*one.isOver) return false;
        one.thread.join();
        return true;
    });
}

}  // namespace

void destroyElsewhere(std::function<void()> destroy) {
    Destructions& destructions = *gDestructions;
    auto isOver = std::make_shared<std::atomic<bool>>(false);
    const std::scoped_lock lock(destructions.lock);
    joinEnded(destructions.all);
    std::thread thread([destroy = std::move(destroy), isOver]() mutable {
        destroy();
        destroy = nullptr;
        *isOver = true;
    });
    destructions.all.push_back({std::move(thread), isOver});
}

void waitForDestructions() {
    Destructions& destructions = *gDestructions;
    std::vector<Destruction> all;
    {
        const std::scoped_lock lock(destructions.lock);
        all.swap(destructions.all);
    }
    for (Destruction& one : all)
        one.thread.join();
}

void forgetDestructions() {
    gDestructions = new Destructions;
}

}  // namespace cabinaudio::python
