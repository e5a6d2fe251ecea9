// SPDX-License-Identifier: Apache-2.0
// What a playback track costs: its construction and its end, its threads and its memory.
#include "bench/support/AnsweringServer.h"
#include "bench/support/Clock.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "bench/track/FirstTrack.h"
#include "bench/track/LibraryTrack.h"
#include "bench/track/MinimalTrack.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <optional>

using namespace cabinaudio::bench;

namespace {

constexpr int WARM_UP = 3;
constexpr double MOST_RESIDENT_KIB = 256;
constexpr double THREADS = 3;

/// The times of one life of a track, ns.
struct Life {
    std::uint64_t construct;
    std::uint64_t check;
    std::uint64_t destroy;
};

template <typename Track>
std::optional<Life> live() {
    const std::uint64_t beginning = nowNs();
    std::optional<Track> track(std::in_place, TRACK_NAME);
    const std::uint64_t constructed = nowNs();
    const int status = track->initCheck();
    const std::uint64_t checkedAt = nowNs();
    track.reset();
    const std::uint64_t end = nowNs();
    if (status != 0) return std::nullopt;
    return Life{constructed - beginning, checkedAt - constructed, end - checkedAt};
}

template <typename Track>
void addProgram(const char* name, int repeats, LogLines lines) {
    const auto measure = [lines](benchmark::State& state) {
        setLogLines(lines);
        for (int i = 0; i < WARM_UP; ++i)
            live<Track>();
        std::vector<std::uint64_t> construct, check, destroy;
        for (auto _ : state) {
            const std::optional<Life> life = live<Track>();
            if (!life) return state.SkipWithError("no track");
            construct.push_back(life->construct);
            check.push_back(life->check);
            destroy.push_back(life->destroy);
        }
        state.counters["construct"] = quantile(construct, 0.5);
        state.counters["construct p99"] = quantile(construct, 0.99);
        state.counters["initCheck"] = quantile(check, 0.5);
        state.counters["destroy"] = quantile(destroy, 0.5);
    };
    benchmark::RegisterBenchmark(name, measure)->Iterations(repeats)->UseRealTime();
}

void reportLives(Report& report, const Results& lives) {
    constexpr double US = 1000;
    report.table("One track after another: medians of the rounds [min..max], us", lives,
                 {{"construct", "construct", true, US, 1},
                  {"p99", "construct p99", false, US, 1},
                  {"initCheck", "initCheck", true, US, 1},
                  {"destroy", "destroy", true, US, 1}});
    std::printf("\nRatios of the medians [within one round]\n");
    report.ratio(lives, "construct", TRACK, MINIMAL, 1.15);
    report.ratio(lives, "construct", TRACK_LOGGED, MINIMAL);
    report.ratio(lives, "initCheck", TRACK, MINIMAL);
    report.ratio(lives, "destroy", TRACK, MINIMAL, 1.25);
}

void reportFirst(Report& report, const Results& first) {
    report.table("First track of a process: medians [min..max]", first,
                 {{"resident, KiB", "rss", true},
                  {"in an idle process, KiB", "cold rss", true},
                  {"of it unshared, KiB", "cold own", true},
                  {"threads", "threads", true},
                  {"construct, us", "first", true, 1000, 1}});
    std::printf("\nFigures\n");
    report.ratio(first, "rss", TRACK, MINIMAL);
    report.ratio(first, "cold rss", TRACK, MINIMAL);
    report.figure("resident memory of the first track", first.spread(TRACK, "rss").median, " KiB",
                  MOST_RESIDENT_KIB, false);
    const Spread threads = first.spread(TRACK, "threads");
    report.figure("threads of a track", threads.min != THREADS ? threads.min : threads.max, "",
                  THREADS, true);
}

void measure(const Options& options) {
    const PrivateInstance instance;
    const int cpu = options.anyCpu ? -1 : stayOnOneCpu(options.cpu);
    const AnsweringServer server(1);

    Report report("Construction and end of a playback track", options);
    report.setting("processor", cpu < 0 ? "all of them, nothing is pinned"
                                        : "everything on CPU " + std::to_string(cpu));
    report.setting("server and the track's threads",
                   mayBeRealTime() ? "SCHED_RR, highest priority"
                                   : "ordinary scheduling: SCHED_RR is refused");
    const Results first = measureFirstTracks(options.rounds);
    addProgram<MinimalTrack>(MINIMAL, options.repeats, LogLines::Dropped);
    addProgram<LibraryTrack>(TRACK, options.repeats, LogLines::Dropped);
    addProgram<LibraryTrack>(TRACK_LOGGED, options.repeats, LogLines::Formatted);
    reportLives(report, runInRounds(options.rounds));
    reportFirst(report, first);
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (isFirstTrackProcess(argc, argv)) {
            runFirstTrackProcess(argv[1]);
            return 0;
        }
        Options options{.rounds = 9, .repeats = 100};
        if (const auto status =
                readCommandLine(argc, argv, "Construction and end of a playback track.", options))
            return *status;
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-track: %s\n", error.what());
        return 1;
    }
    return 0;
}
