// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::test {

/// How many streams there are at a time.
constexpr std::size_t STREAMS = 10;

/// Counts of one place's streams, one after the other.
struct StreamTally {
    std::atomic<std::uint64_t> verified;  // bytes that were as they should be
    std::atomic<std::uint64_t> skipped;   // bytes that a sink has not played, its source being away
    std::atomic<std::uint64_t> mismatches;  // looks at bytes that were not
};

/// Counts that outlive the server that makes them: in memory that it shares with who started it.
struct Tally {
    StreamTally streams[STREAMS];
    std::atomic<std::uint64_t> storms;  // comings and goings of sources
};

/// @return null when it cannot be mapped; stays for the life of the process
inline Tally* mapTally(int descriptor) {
    void* const memory =
        mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<Tally*>(memory);
}

}  // namespace cabinaudio::test
