// SPDX-License-Identifier: Apache-2.0
// Time of write and read of one chunk in one thread: our ring, the same bytes moved by memcpy alone
// or between offsets in a header like ours, and the rings of other libraries. "+clock" takes the
// time once per write, as ours does. "called": behind two functions of a shared library, as ours
// is; otherwise the compiler inlines the program into the loop. jack's functions are in a shared
// library anyway.
#include "bench/ring/Called.h"
#include "bench/ring/Copies.h"
#include "bench/ring/HeaderRing.h"
#include "bench/ring/Ours.h"
#include "bench/ring/Peers.h"
#include "bench/ring/Stamped.h"
#include "bench/support/Bytes.h"
#include "bench/support/Clock.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>
#include <sched.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr std::uint32_t RING_SIZES[] = {64 << 10, 1 << 20};
constexpr std::uint32_t CHUNKS[] = {64, 192, 960, 3840, 16 << 10, 64 << 10};
constexpr const char* LIMITS[] = {"memcpy+clock", "memcpy+clock,called"};
constexpr const char* PEERS[] = {"spa+clock", "spa+clock,called", "jack+clock", "boost+clock",
                                 "boost+clock,called"};
/// Only the prescribed parts: two called functions, and a header in memory.
constexpr const char* MINIMAL = "header+clock,called";
constexpr double MOST_OF_PEERS = 1.00;
/// 0.95 or 0.93 of the limit's speed.
double mostOfLimit(std::uint32_t chunk) {
    return 1 / (chunk == 3840 || chunk == 16 << 10 ? 0.93 : 0.95);
}

/// A sample is the average over as many chunks as make the clock's cost negligible.
constexpr std::uint32_t BYTES_PER_SAMPLE = 1 << 19;
constexpr std::uint32_t MOST_CHUNKS_PER_SAMPLE = 2048;

std::string nameOf(const char* ring, std::uint32_t size, std::uint32_t chunk) {
    return std::string(ring) + " " + std::to_string(chunk) + " B, ring " +
           std::to_string(size >> 10) + " KiB";
}

template <typename Ring>
void addProgram(const char* name, std::uint32_t size, std::uint32_t chunk, int repeats) {
    const auto measure = [size, chunk](benchmark::State& state) {
        const Bytes source(chunk, 0x5a);
        Bytes destination(chunk);
        Ring ring(size);
        const std::uint32_t perSample = std::min(BYTES_PER_SAMPLE / chunk, MOST_CHUNKS_PER_SAMPLE);
        const auto pass = [&] {
            for (std::uint32_t i = 0; i < perSample; ++i) {
                ring.write(source.data(), chunk);
                ring.read(destination.data(), chunk);
                benchmark::ClobberMemory();
            }
        };
        // Once around the ring, so that no page is touched for the first time later.
        for (std::uint32_t done = 0; done <= size; done += perSample * chunk)
            pass();
        std::vector<std::uint64_t> samples;
        for (auto _ : state) {
            const std::uint64_t before = nowNs();
            pass();
            samples.push_back(nowNs() - before);
        }
        if (source != destination) return state.SkipWithError("the bytes did not come back");
        state.counters["time"] = quantile(samples, 0.5) / perSample;
    };
    benchmark::RegisterBenchmark(nameOf(name, size, chunk).c_str(), measure)
        ->Iterations(repeats)
        ->UseRealTime();
}

template <typename Visit>
void forAllSizes(Visit visit) {
    for (const std::uint32_t size : RING_SIZES)
        for (const std::uint32_t chunk : CHUNKS)
            if (chunk < size) visit(size, chunk);  // one byte stays free
}

void addPrograms(int repeats) {
    forAllSizes([&](std::uint32_t size, std::uint32_t chunk) {
        addProgram<Ours>("ours", size, chunk, repeats);
        addProgram<Copies>("memcpy", size, chunk, repeats);
        addProgram<Stamped<Copies>>("memcpy+clock", size, chunk, repeats);
        addProgram<Called<Copies>>("memcpy+clock,called", size, chunk, repeats);
        addProgram<Header>("header", size, chunk, repeats);
        addProgram<Stamped<Header>>("header+clock", size, chunk, repeats);
        addProgram<Called<Header>>(MINIMAL, size, chunk, repeats);
        addProgram<Spa>("spa", size, chunk, repeats);
        addProgram<Stamped<Spa>>("spa+clock", size, chunk, repeats);
        addProgram<Called<Spa>>("spa+clock,called", size, chunk, repeats);
        addProgram<Jack>("jack", size, chunk, repeats);
        addProgram<Stamped<Jack>>("jack+clock", size, chunk, repeats);
        addProgram<Boost>("boost", size, chunk, repeats);
        addProgram<Stamped<Boost>>("boost+clock", size, chunk, repeats);
        addProgram<Called<Boost>>("boost+clock,called", size, chunk, repeats);
    });
}

/// Requests real-time scheduling against interruptions by other programs, where permitted.
bool requestRealTime() {
    const sched_param priority{10};
    return sched_setscheduler(0, SCHED_RR, &priority) == 0;
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    const int cpu = options.anyCpu ? -1 : pinToCpu(options.cpu);
    Report report("Write and read of one chunk, one thread", options);
    report.setting("processor",
                   cpu < 0 ? "all of them, nothing is pinned" : "CPU " + std::to_string(cpu));
    report.setting("scheduling", requestRealTime()
                                     ? "SCHED_RR"
                                     : "ordinary: SCHED_RR is refused, expect more noise");
    addPrograms(options.repeats);
    const Results results = runInRounds(options.rounds);
    report.table("Medians of the rounds [min..max], ns", results, {{"time", "time", true, 1, 1}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    forAllSizes([&](std::uint32_t size, std::uint32_t chunk) {
        const auto compare = [&](const char* ring, const char* other, auto... goal) {
            report.ratio(results, "time", nameOf(ring, size, chunk), nameOf(other, size, chunk),
                         goal...);
        };
        for (const char* const limit : LIMITS)
            compare("ours", limit, RatioGoal(mostOfLimit(chunk), nameOf(MINIMAL, size, chunk)));
        for (const char* const peer : PEERS)
            compare("ours", peer, RatioGoal(MOST_OF_PEERS, nameOf(MINIMAL, size, chunk)));
        compare("ours", MINIMAL);
        compare("header", "memcpy");
        compare("header+clock", "memcpy+clock");
        compare(MINIMAL, "header+clock");
    });
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 151, .repeats = 20};
    if (const auto status =
            readCommandLine(argc, argv, "Write and read of one chunk, one thread.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ring-bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
