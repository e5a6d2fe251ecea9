// SPDX-License-Identifier: Apache-2.0
// Time per chunk from one process to another: our ring, copied out and viewed in place, and the
// rings of other libraries in shared memory, which take the time once per write as ours does.
// "called": behind two functions of a shared library, as ours is; jack's functions are in one
// anyway. Writer and reader poll instead of sleeping, so that only the ring is measured.
#include <cabinaudio/shm/ShareMemory.h>

#include "bench/ring/CalledShared.h"
#include "bench/ring/SharedRings.h"
#include "bench/support/Bytes.h"
#include "bench/support/Clock.h"
#include "bench/support/Errors.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr std::uint32_t CHUNKS[] = {64, 192, 960, 3840, 16 << 10};
constexpr std::uint32_t LEAST_WITH_GOAL = 960;
constexpr double MOST_OF_PEERS = 1 / 0.95;
constexpr const char* PEERS[] = {"spa+clock", "spa+clock,called", "jack+clock", "boost+clock",
                                 "boost+clock,called"};
/// Only the prescribed parts: two called functions, and a header in shared memory.
constexpr const char* MINIMAL = "header+clock,called";
constexpr std::uint32_t BYTES_PER_SAMPLE = 32 << 20;
constexpr std::uint32_t MOST_CHUNKS = 20000;

// Our rings, with the interface of the others (see SharedRings.h).

class OursCopied {
public:
    std::uint32_t write(const unsigned char* from, std::uint32_t length) {
        if (mRing.getFreeSize() < length) return 0;
        return static_cast<std::uint32_t>(mRing.write(from, length));
    }
    std::uint32_t read(unsigned char* to, std::uint32_t length) {
        return static_cast<std::uint32_t>(mRing.read(to, length));
    }

protected:
    ShareMemoryEx mRing{SHM_TYPE_POSIX_SHM, "two", nullptr, RING_BYTES, SHM_MODE_CREATOR, nullptr};
};

/// The reader does not copy the bytes.
class OursInPlace : public OursCopied {
public:
    std::uint32_t read(unsigned char*, std::uint32_t length) {
        audio_buffer_provider_t view{};
        mRing.getNextBuffer(view);
        view.length = std::min(view.length, length);
        if (view.length == 0) return 0;
        benchmark::DoNotOptimize(*view.data);
        mRing.releaseBuffer(view);
        return view.length;
    }
};

/// Yields to the other process now and then, in case both share one CPU.
class Patience {
public:
    void wait() {
        if (++mTries % 64 == 0) sched_yield();
    }

private:
    unsigned mTries = 0;
};

/// CPUs of writer and reader, counted down from the last permitted one; the same CPU if there is
/// only one.
class Places {
public:
    Places() {
        cpu_set_t allowed;
        checked(sched_getaffinity(0, sizeof allowed, &allowed), "sched_getaffinity");
        for (int cpu = CPU_SETSIZE - 1; cpu >= 0; --cpu)
            if (CPU_ISSET(cpu, &allowed)) mCpus.push_back(cpu);
    }
    [[nodiscard]] int writer() const { return mCpus.front(); }
    [[nodiscard]] int reader() const { return mCpus.size() > 1 ? mCpus[1] : mCpus[0]; }

private:
    std::vector<int> mCpus;
};

const Places& places() {
    static const Places all;
    return all;
}

/// Requests real-time scheduling against interruptions by other programs, where permitted.
bool requestRealTime() {
    const sched_param priority{10};
    return sched_setscheduler(0, SCHED_RR, &priority) == 0;
}

struct Signals {
    std::atomic<bool> isReady{false};
    std::atomic<bool> isDone{false};
};

template <typename Ring>
[[noreturn]] void readAll(Ring& ring, Signals& signals, std::uint64_t bytes, std::uint32_t chunk) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pinToCpu(places().reader());
    Bytes to(chunk);
    signals.isReady = true;
    Patience patience;
    while (bytes > 0) {
        const std::uint32_t got =
            ring.read(to.data(), static_cast<std::uint32_t>(std::min<std::uint64_t>(bytes, chunk)));
        if (got == 0) patience.wait();
        bytes -= got;
    }
    signals.isDone = true;
    _exit(0);
}

template <typename Ring>
double nsPerChunk(std::uint32_t chunk) {
    const std::uint32_t chunks = std::min(BYTES_PER_SAMPLE / chunk, MOST_CHUNKS);
    Ring ring;
    Shared<Signals> signals;
    const pid_t reader = checked(fork(), "fork");
    if (reader == 0) readAll(ring, *signals.operator->(), std::uint64_t{chunks} * chunk, chunk);
    const Bytes from(chunk, 0x5a);
    Patience patience;
    while (!signals->isReady)
        patience.wait();
    const std::uint64_t before = nowNs();
    for (std::uint32_t i = 0; i < chunks; ++i)
        while (ring.write(from.data(), chunk) == 0)
            patience.wait();
    while (!signals->isDone)
        patience.wait();
    const std::uint64_t time = nowNs() - before;
    waitpid(reader, nullptr, 0);
    return static_cast<double>(time) / chunks;
}

std::string nameOf(const char* ring, std::uint32_t chunk) {
    return std::string(ring) + " " + std::to_string(chunk) + " B";
}

template <typename Ring>
void addProgram(const char* name, std::uint32_t chunk, int repeats) {
    const auto measure = [chunk](benchmark::State& state) {
        std::vector<std::uint64_t> picoseconds;
        for (auto _ : state)
            picoseconds.push_back(static_cast<std::uint64_t>(nsPerChunk<Ring>(chunk) * 1000));
        state.counters["time"] = quantile(picoseconds, 0.5) / 1000;
    };
    benchmark::RegisterBenchmark(nameOf(name, chunk).c_str(), measure)
        ->Iterations(repeats)
        ->UseRealTime();
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    Report report("From one process to another, ring of 64 KiB", options);
    report.setting("processors", "writer on CPU " + std::to_string(places().writer()) +
                                     ", reader on CPU " + std::to_string(places().reader()));
    pinToCpu(places().writer());
    report.setting("scheduling", requestRealTime()
                                     ? "SCHED_RR"
                                     : "ordinary: SCHED_RR is refused, expect more noise");
    for (const std::uint32_t chunk : CHUNKS) {
        addProgram<OursCopied>("ours", chunk, options.repeats);
        addProgram<OursInPlace>("ours in place", chunk, options.repeats);
        addProgram<CalledShared<HeaderShared>>(MINIMAL, chunk, options.repeats);
        addProgram<SpaShared>("spa+clock", chunk, options.repeats);
        addProgram<CalledShared<SpaShared>>("spa+clock,called", chunk, options.repeats);
        addProgram<JackShared>("jack+clock", chunk, options.repeats);
        addProgram<BoostShared>("boost+clock", chunk, options.repeats);
        addProgram<CalledShared<BoostShared>>("boost+clock,called", chunk, options.repeats);
    }
    const Results results = runInRounds(options.rounds);
    report.table("Medians of the rounds [min..max], ns per chunk", results,
                 {{"time", "time", true, 1, 1}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    for (const std::uint32_t chunk : CHUNKS) {
        for (const char* const peer : PEERS)
            report.ratio(results, "time", nameOf("ours", chunk), nameOf(peer, chunk),
                         chunk >= LEAST_WITH_GOAL
                             ? std::optional(RatioGoal(MOST_OF_PEERS, nameOf(MINIMAL, chunk)))
                             : std::nullopt);
        report.ratio(results, "time", nameOf("ours", chunk), nameOf(MINIMAL, chunk));
        report.ratio(results, "time", nameOf("ours in place", chunk), nameOf("ours", chunk));
    }
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 151, .repeats = 1};
    if (const auto status = readCommandLine(argc, argv, "From one process to another.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-processes: %s\n", error.what());
        return 1;
    }
    return 0;
}
