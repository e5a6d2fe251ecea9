// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Instance.h"

#include "tools/Failure.h"
#include "tools/scenario/Child.h"

#include <sys/random.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>

namespace cabinaudio::tool::scenario {

namespace {

constexpr std::chrono::seconds CLEANING_BOUND{5};
constexpr std::chrono::milliseconds CLEANING_PAUSE{1};

}  // namespace

Instance::Instance(const Locations& locations) : mLocations(locations) {
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, 0) != sizeof random)
        throw Failure(std::string("cannot name an instance: ") + std::strerror(errno));
    char name[32];
    std::snprintf(name, sizeof name, "s%016llx", static_cast<unsigned long long>(random));
    mName = name;
}

Instance::~Instance() {
    try {
        ChildStart start;
        start.words = {mLocations.launcher, "--clean", "--instance", mName};
        start.outputFile = start.errorFile = "/dev/null";
        Child cleaner(start);
        const auto deadline = std::chrono::steady_clock::now() + CLEANING_BOUND;
        while (!cleaner.ended() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(CLEANING_PAUSE);
    } catch (const Failure&) {
        // Without a process, objects remain; the next start of this machine removes them.
    }
}

}  // namespace cabinaudio::tool::scenario
