// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/soak/ServerProcess.h"
#include "tests/soak/Tally.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::test {

/// Counts of the clients of a soak.
struct Counts {
    std::atomic<std::uint64_t> streams{0};
    std::atomic<std::uint64_t> settings{0};    // requests that were answered
    std::atomic<std::uint64_t> recorded{0};    // bytes that were as they should be
    std::atomic<std::uint64_t> mismatches{0};  // reads of bytes that were not
    std::atomic<std::uint64_t> reconnects{0};  // streams that lost their server, and a next one
    std::atomic<std::uint64_t> timeouts{0};    // writes and reads
    std::atomic<std::uint64_t> errors{0};      // that no killed server explains
    std::atomic<std::uint64_t> thrownAway[STREAMS]{};  // bytes that writes said were not queued

    [[nodiscard]] std::uint64_t allThrownAway() const {
        std::uint64_t sum = 0;
        for (const auto& one : thrownAway)
            sum += one;
        return sum;
    }
};

/// One stream after the other until the end, of the kind that the place has; the place behind the
/// last one has settings.
void work(std::size_t place, const ServerProcess& server, Counts& counts, unsigned seed,
          std::chrono::steady_clock::time_point end);

}  // namespace cabinaudio::test
