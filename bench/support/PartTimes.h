// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Clock.h"

#include <cstdint>

namespace cabinaudio::bench {

/// Time that the parts of one construction have taken, ns.
struct PartTimes {
    std::uint64_t threadStarts = 0;
    std::uint64_t threadNames = 0;
    std::uint64_t connection = 0;
    std::uint64_t requests = 0;
    std::uint64_t reservation = 0;
};

/// The parts of this process add their times here. Null, except while a program measures them:
/// otherwise they do not read the clock. Used by the constructing thread only.
inline PartTimes* gPartTimes = nullptr;

/// Adds the duration of its scope to one part.
class TimedPart {
public:
    explicit TimedPart(std::uint64_t PartTimes::*part)
        : mPart(part), mBeginning(gPartTimes != nullptr ? nowNs() : 0) {}
    ~TimedPart() {
        if (gPartTimes != nullptr) gPartTimes->*mPart += nowNs() - mBeginning;
    }
    TimedPart(const TimedPart&) = delete;
    TimedPart& operator=(const TimedPart&) = delete;

private:
    std::uint64_t PartTimes::*mPart;
    std::uint64_t mBeginning;
};

}  // namespace cabinaudio::bench
