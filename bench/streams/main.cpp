// SPDX-License-Identifier: Apache-2.0
// Cost of a stream: construction and destruction of each stream client, its threads and its memory;
// and the streams of other systems, for comparison.
#include "bench/streams/ConstructionParts.h"
#include "bench/streams/FirstStream.h"
#include "bench/streams/LibraryStreams.h"
#include "bench/streams/MinimalStream.h"
#include "bench/streams/peers/Peers.h"
#include "bench/support/AnsweringServer.h"
#include "bench/support/Clock.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <optional>

using namespace cabinaudio::bench;

namespace {

constexpr int WARM_UP = 3;
constexpr double MOST_CONSTRUCT = 1.15;
constexpr double MOST_DESTROY = 1.25;
constexpr double MOST_RESIDENT_KIB = 256;
constexpr double THREADS = 2;
constexpr double RING_THREADS = 1;

/// Times of one stream's construction and destruction, ns.
struct Life {
    std::uint64_t construct;
    std::optional<std::uint64_t> check;  // empty for peers, which have no such step
    std::uint64_t destroy;
};

template <typename Stream>
std::optional<Life> measureLife(const StreamKind& kind) {
    const std::uint64_t beginning = nowNs();
    std::optional<Stream> stream(std::in_place, kind);
    const std::uint64_t constructed = nowNs();
    const int status = stream->initCheck();
    const std::uint64_t checkedAt = nowNs();
    stream.reset();
    const std::uint64_t end = nowNs();
    if (status != 0) return std::nullopt;
    return Life{constructed - beginning, checkedAt - constructed, end - checkedAt};
}

std::optional<Life> measureLife(Peer& peer) {
    const std::uint64_t beginning = nowNs();
    const bool isOpen = peer.open();
    const std::uint64_t opened = nowNs();
    peer.close();
    const std::uint64_t end = nowNs();
    if (!isOpen) return std::nullopt;
    return Life{opened - beginning, std::nullopt, end - opened};
}

/// Registers a benchmark of consecutive stream lives.
template <typename LiveOnce>
void addProgram(const std::string& name, int repeats, LogLines lines, LiveOnce liveOnce) {
    const auto measure = [lines, liveOnce](benchmark::State& state) {
        setLogLines(lines);
        for (int i = 0; i < WARM_UP; ++i)
            liveOnce();
        std::vector<std::uint64_t> construct, check, destroy;
        for (auto _ : state) {
            const std::optional<Life> life = liveOnce();
            if (!life) return state.SkipWithError("no stream");
            construct.push_back(life->construct);
            if (life->check) check.push_back(*life->check);
            destroy.push_back(life->destroy);
        }
        state.counters["construct"] = quantile(construct, 0.5);
        state.counters["construct p99"] = quantile(construct, 0.99);
        if (!check.empty()) state.counters["initCheck"] = quantile(check, 0.5);
        state.counters["destroy"] = quantile(destroy, 0.5);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)->Iterations(repeats)->UseRealTime();
}

void addStreams(int repeats) {
    for (const StreamKind* const kind : KINDS) {
        addProgram(minimal(*kind), repeats, LogLines::Dropped,
                   [kind] { return measureLife<MinimalStream>(*kind); });
        withLibraryClass(*kind, [&]<typename Stream>() {
            const auto liveOnce = [kind] { return measureLife<Stream>(*kind); };
            addProgram(library(*kind), repeats, LogLines::Dropped, liveOnce);
            addProgram(logged(*kind), repeats, LogLines::Formatted, liveOnce);
        });
    }
}

void addPeers(const Peers& peers, int repeats, Report& report) {
    for (const Peers::Entry& entry : peers.all()) {
        report.setting(entry.name, entry.peer ? "its own server, with a sink that plays nothing"
                                              : "not measured: " + entry.unavailableReason);
        Peer* const peer = entry.peer.get();
        if (peer != nullptr)
            addProgram(entry.name, repeats, LogLines::Dropped,
                       [peer] { return measureLife(*peer); });
    }
}

void reportLives(Report& report, const Results& lives, const Peers& peers) {
    constexpr double US = 1000;
    report.table("One stream after another: medians of the rounds [min..max], us", lives,
                 {{"construct", "construct", true, US, 1},
                  {"p99", "construct p99", false, US, 1},
                  {"initCheck", "initCheck", true, US, 1},
                  {"destroy", "destroy", true, US, 1}});
    report.counters(
        "Parts of a minimal construction with a ring: medians of the rounds [min..max], us", lives,
        CONSTRUCTION_PARTS, US, 1);
    std::printf("\nRatios within a round, medians [min..max]\n");
    for (const StreamKind* const kind : KINDS)
        report.ratio(lives, "construct", library(*kind), minimal(*kind), MOST_CONSTRUCT);
    for (const StreamKind* const kind : KINDS)
        report.ratio(lives, "construct", logged(*kind), minimal(*kind));
    for (const StreamKind* const kind : KINDS)
        report.ratio(lives, "destroy", library(*kind), minimal(*kind), MOST_DESTROY);
    for (const Peers::Entry& entry : peers.all()) {
        report.ratio(lives, "construct", library(ALTERNATIVE), entry.name,
                     RatioGoal(entry.mostConstruct, minimal(ALTERNATIVE)));
        report.ratio(lives, "destroy", library(ALTERNATIVE), entry.name);
    }
}

void reportFirst(Report& report, const Results& first) {
    report.table("First stream of a process: medians [min..max]", first,
                 {{"resident, KiB", "rss", true},
                  {"in an idle process, KiB", "cold rss", true},
                  {"of it unshared, KiB", "cold own", true},
                  {"threads", "threads", true},
                  {"construct, us", "first", true, 1000, 1}});
    std::printf("\nFigures\n");
    for (const StreamKind* const kind : KINDS) {
        const std::string name = library(*kind);
        report.figure(name + ": resident memory of the first", first.spread(name, "rss").median,
                      " KiB", MOST_RESIDENT_KIB, false);
        const double expected = kind->hasRing ? THREADS + RING_THREADS : THREADS;
        const Spread threads = first.spread(name, "threads");
        report.figure(name + ": threads", threads.min != expected ? threads.min : threads.max, "",
                      expected, true);
    }
}

void measure(const Options& options) {
    const PrivateInstance instance;
    const int cpu = options.anyCpu ? -1 : pinToCpu(options.cpu);
    const AnsweringServer server(1);

    Report report("Construction and end of a stream", options);
    report.setting("processor", cpu < 0 ? "all of them, nothing is pinned"
                                        : "everything on CPU " + std::to_string(cpu));
    report.setting("server and the streams' threads",
                   mayBeRealTime() ? "SCHED_RR, highest priority"
                                   : "ordinary scheduling: SCHED_RR is refused");
    const Results first = measureFirstStreams(options.rounds);
    const Peers peers;
    addStreams(options.repeats);
    addConstructionParts(options.repeats);
    addPeers(peers, options.repeats, report);
    reportLives(report, runInRounds(options.rounds), peers);
    reportFirst(report, first);
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (isFirstStreamProcess(argc, argv)) {
            runFirstStreamProcess(argv[1]);
            return 0;
        }
        Options options{.rounds = 21, .repeats = 100};
        if (const auto status =
                readCommandLine(argc, argv, "Construction and end of a stream.", options))
            return *status;
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-streams: %s\n", error.what());
        return 1;
    }
    return 0;
}
