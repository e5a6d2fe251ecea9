// SPDX-License-Identifier: Apache-2.0
// Saving by reading without a copy: write and read of one chunk in one thread, copied out with
// read() or viewed in place with getNextBuffer() and releaseBuffer(). "+sum" adds the same use of
// the bytes to both, a sum over all of them in place.
#include <cabinaudio/shm/ShareMemory.h>

#include "bench/support/Bytes.h"
#include "bench/support/Clock.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>
#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr std::uint32_t RING_SIZES[] = {64 << 10, 1 << 20};
constexpr std::uint32_t CHUNKS[] = {960, 3840, 16 << 10, 64 << 10};
constexpr std::uint32_t LEAST_WITH_GOAL = 3840;
constexpr double MOST_RATIO = 0.70;
constexpr int REAL_TIME_PRIORITY = 10;

std::uint64_t sumOf(const unsigned char* bytes, std::uint32_t length) {
    std::uint64_t sum = 0;
    std::uint64_t word = 0;
    constexpr std::uint32_t STEP = sizeof word;
    for (; length >= STEP; length -= STEP, bytes += STEP) {
        std::memcpy(&word, bytes, sizeof word);
        sum += word;
    }
    for (; length > 0; --length)
        sum += *bytes++;
    return sum;
}

/// How the bytes of a chunk are used.
struct Nothing {
    static std::uint64_t of(const unsigned char*, std::uint32_t) { return 0; }
};
struct Sum {
    static std::uint64_t of(const unsigned char* bytes, std::uint32_t length) {
        return sumOf(bytes, length);
    }
};

/// Copies a chunk out. @return its bytes
template <typename Use>
struct Copied {
    static std::uint32_t read(ShareMemoryEx& ring, Bytes& to, std::uint32_t chunk) {
        const auto got = static_cast<std::uint32_t>(ring.read(to.data(), chunk));
        benchmark::DoNotOptimize(Use::of(to.data(), got));
        return got;
    }
};

/// Views a chunk in place: in two pieces when it wraps around the ring's end.
template <typename Use>
struct Viewed {
    static std::uint32_t read(ShareMemoryEx& ring, Bytes&, std::uint32_t chunk) {
        std::uint32_t got = 0;
        while (got < chunk) {
            audio_buffer_provider_t view{};
            ring.getNextBuffer(view);
            view.length = std::min(view.length, chunk - got);
            if (view.length == 0) break;
            benchmark::DoNotOptimize(Use::of(view.data, view.length));
            ring.releaseBuffer(view);
            got += view.length;
        }
        return got;
    }
};

std::string nameOf(const char* way, std::uint32_t size, std::uint32_t chunk) {
    return std::string(way) + " " + std::to_string(chunk) + " B, ring " +
           std::to_string(size >> 10) + " KiB";
}

/// A sample is the average over as many chunks as make the clock's cost negligible.
constexpr std::uint32_t BYTES_PER_SAMPLE = 1 << 20;

template <typename Way>
void addProgram(const char* way, std::uint32_t size, std::uint32_t chunk, int repeats) {
    const auto measure = [size, chunk](benchmark::State& state) {
        const Bytes source(chunk, 0x5a);
        Bytes destination(chunk);
        ShareMemoryEx ring(SHM_TYPE_POSIX_SHM, "view", nullptr, size, SHM_MODE_CREATOR, nullptr);
        const std::uint32_t perSample = BYTES_PER_SAMPLE / chunk;
        const auto pass = [&] {
            for (std::uint32_t i = 0; i < perSample; ++i) {
                ring.write(source.data(), chunk);
                if (Way::read(ring, destination, chunk) != chunk) return false;
                benchmark::ClobberMemory();
            }
            return true;
        };
        if (!pass()) return state.SkipWithError("a chunk did not come back");
        std::vector<std::uint64_t> samples;
        for (auto _ : state) {
            const std::uint64_t before = nowNs();
            if (!pass()) return state.SkipWithError("a chunk did not come back");
            samples.push_back(nowNs() - before);
        }
        state.counters["time"] = quantile(samples, 0.5) / perSample;
    };
    benchmark::RegisterBenchmark(nameOf(way, size, chunk).c_str(), measure)
        ->Iterations(repeats)
        ->UseRealTime();
}

template <typename Visit>
void forAllSizes(Visit visit) {
    for (const std::uint32_t size : RING_SIZES)
        for (const std::uint32_t chunk : CHUNKS)
            if (chunk < size) visit(size, chunk);  // one byte stays free
}

/// Requests real-time scheduling against interruptions by other programs, where permitted.
bool requestRealTime() {
    const sched_param priority{REAL_TIME_PRIORITY};
    return sched_setscheduler(0, SCHED_RR, &priority) == 0;
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    const int cpu = options.anyCpu ? -1 : pinToCpu(options.cpu);
    Report report("Reading a ring without copying", options);
    report.setting("processor",
                   cpu < 0 ? "all of them, nothing is pinned" : "CPU " + std::to_string(cpu));
    report.setting("scheduling", requestRealTime()
                                     ? "SCHED_RR"
                                     : "ordinary: SCHED_RR is refused, expect more noise");
    forAllSizes([&](std::uint32_t size, std::uint32_t chunk) {
        addProgram<Copied<Nothing>>("copy", size, chunk, options.repeats);
        addProgram<Viewed<Nothing>>("view", size, chunk, options.repeats);
        addProgram<Copied<Sum>>("copy+sum", size, chunk, options.repeats);
        addProgram<Viewed<Sum>>("view+sum", size, chunk, options.repeats);
    });
    const Results results = runInRounds(options.rounds);
    report.table("Write and read of one chunk, medians of the rounds [min..max], ns", results,
                 {{"time", "time", true, 1, 1}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    forAllSizes([&](std::uint32_t size, std::uint32_t chunk) {
        report.ratio(results, "time", nameOf("view", size, chunk), nameOf("copy", size, chunk),
                     chunk >= LEAST_WITH_GOAL ? std::optional(MOST_RATIO) : std::nullopt);
    });
    forAllSizes([&](std::uint32_t size, std::uint32_t chunk) {
        report.ratio(results, "time", nameOf("view+sum", size, chunk),
                     nameOf("copy+sum", size, chunk));
    });
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 15, .repeats = 100};
    if (const auto status =
            readCommandLine(argc, argv, "Reading a ring with and without a copy.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-view: %s\n", error.what());
        return 1;
    }
    return 0;
}
