// SPDX-License-Identifier: Apache-2.0
// Time to load the library into a program that already has the C++ and the log library, against the
// client libraries of other systems. Each load is the first one of a new process.
#include "bench/support/Errors.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

using namespace cabinaudio::bench;

namespace {

struct Library {
    const char* name;
    const char* file;
};
constexpr char OURS[] = "libcabinaudio";
constexpr char PIPEWIRE[] = "libpipewire";
constexpr Library LIBRARIES[] = {{OURS, OUR_LIBRARY},
                                 {PIPEWIRE, "libpipewire-0.3.so.0"},
                                 {"libpulse", "libpulse.so.0"},
                                 {"libsndio", "libsndio.so.7"},
                                 {"libasound", "libasound.so.2"},
                                 {"libjack", "libjack.so.0"},
                                 {"libdbus", "libdbus-1.so.3"}};
constexpr double MOST_OF_PIPEWIRE = 1.0;

/// Nanoseconds, or 0 when it cannot be loaded.
std::uint64_t loadOnce(const char* file) {
    FILE* const output = popen((LOAD_ONE " " + std::string(file) + " 2>/dev/null").c_str(), "re");
    if (output == nullptr) raise(errno, "popen");
    unsigned long long time = 0;
    if (std::fscanf(output, "%llu", &time) != 1) time = 0;
    pclose(output);
    return time;
}

void addProgram(const Library& library, int repeats) {
    const auto measure = [&library](benchmark::State& state) {
        std::vector<std::uint64_t> samples;
        for (auto _ : state)
            samples.push_back(loadOnce(library.file));
        state.counters["time"] = quantile(samples, 0.5);
    };
    benchmark::RegisterBenchmark(library.name, measure)->Iterations(repeats)->UseRealTime();
}

void measure(const Options& options) {
    const int cpu = options.anyCpu ? -1 : pinToCpu(options.cpu);
    Report report("Loading a library, C++ and log library present", options);
    report.setting("processor", cpu < 0 ? "all of them, nothing is pinned"
                                        : "everything on CPU " + std::to_string(cpu));
    for (const Library& library : LIBRARIES) {
        if (loadOnce(library.file) != 0)
            addProgram(library, options.repeats);
        else
            report.setting(library.name, "not measured: it is not installed");
    }
    const Results results = runInRounds(options.rounds);
    report.table("Medians of the rounds [min..max], us", results,
                 {{"load", "time", true, 1000, 0}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    for (const Library& library : LIBRARIES)
        if (library.name != OURS)
            report.ratio(results, "time", OURS, library.name,
                         library.name == PIPEWIRE ? std::optional(MOST_OF_PIPEWIRE) : std::nullopt);
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 9, .repeats = 11};
    if (const auto status = readCommandLine(argc, argv, "Loading a library.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-load: %s\n", error.what());
        return 1;
    }
    return 0;
}
