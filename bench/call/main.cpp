// SPDX-License-Identifier: Apache-2.0
// What a request costs its client: the library against the bare exchange of the same bytes and
// against the least program that hands a reply from a receive thread to the requester.
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "bench/call/PingPong.h"
#include "bench/support/AnsweringServer.h"
#include "bench/support/Clock.h"
#include "bench/support/HandOver.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

using namespace cabinaudio::bench;

namespace {

constexpr std::uint32_t FUNCTION = 1;
constexpr std::int32_t ARGUMENT = 2;
constexpr int WARM_UP = 200;

std::uint64_t contextSwitches() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_nvcsw + usage.ru_nivcsw);
}

/// Registers a benchmark of one round trip after another.
/// @param roundTrip  returns whether it succeeded
template <typename RoundTrip>
void addProgram(const char* name, int repeats, RoundTrip roundTrip) {
    const auto measure = [roundTrip, repeats](benchmark::State& state) {
        for (int i = 0; i < WARM_UP; ++i)
            roundTrip();
        std::vector<std::uint64_t> samples;
        samples.reserve(static_cast<std::size_t>(repeats));
        const std::uint64_t switchesBefore = contextSwitches();
        const std::uint64_t cpuBefore = nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
        for (auto _ : state) {
            const std::uint64_t before = nowNs();
            if (!roundTrip()) return state.SkipWithError("a request failed");
            samples.push_back(nowNs() - before);
        }
        const std::uint64_t cpu = nanoseconds(CLOCK_PROCESS_CPUTIME_ID) - cpuBefore;
        const std::uint64_t switches = contextSwitches() - switchesBefore;
        state.counters["p50"] = quantile(samples, 0.5);
        state.counters["p99"] = quantile(samples, 0.99);
        state.counters["cpu"] = static_cast<double>(cpu) / repeats;
        state.counters["switches"] = static_cast<double>(switches) / repeats;
    };
    benchmark::RegisterBenchmark(name, measure)->Iterations(repeats)->UseRealTime();
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    const int cpu = options.anyCpu ? -1 : stayOnOneCpu(options.cpu);
    const AnsweringServer server(4);  // one for each of the programs

    PingPong raw;
    HandOver handOver(AUDIO_CONNECT_VOLUME_SETTING, "bench");
    RemoteCall library(AUDIO_CONNECT_VOLUME_SETTING, nullptr, nullptr, "bench");
    ClientVersionSetting version;
    if (library.initCheck() != AUDIO_NO_ERROR || version.initCheck() != AUDIO_NO_ERROR)
        throw std::runtime_error("the library does not reach the answering server");

    addProgram("raw", options.repeats, [&] { return raw.roundTrip(); });
    addProgram("handover", options.repeats, [&] {
        return handOver.request({FUNCTION, ARGUMENT}, sizeof(std::int32_t)) == AUDIO_NO_ERROR;
    });
    addProgram("callFuncId", options.repeats,
               [&] { return library.callFuncId(FUNCTION, ARGUMENT, true) == AUDIO_NO_ERROR; });
    addProgram("getServerVersions", options.repeats, [&] {
        int first[3], second[3], third;
        return version.getServerVersions(first, second, &third) == AUDIO_NO_ERROR;
    });

    Report report("Round trip of one request", options);
    report.setting("processor", cpu < 0 ? "all of them, nothing is pinned"
                                        : "everything on CPU " + std::to_string(cpu));
    report.setting("server and receive threads", mayBeRealTime()
                                                     ? "SCHED_RR, highest priority"
                                                     : "ordinary scheduling: SCHED_RR is refused");
    const Results results = runInRounds(options.rounds);
    report.table(
        "Medians of the rounds [min..max], ns; per request: CPU time and context switches "
        "of the client",
        results,
        {{"p50", "p50", true},
         {"p99", "p99", true},
         {"CPU", "cpu"},
         {"switches", "switches", false, 1, 1}});
    std::printf("\nRatios of the medians [within one round]\n");
    report.ratio(results, "p50", "callFuncId", "handover", 1.05);
    report.ratio(results, "cpu", "callFuncId", "handover");
    report.ratio(results, "p50", "handover", "raw");
    report.ratio(results, "p50", "callFuncId", "raw");
    report.ratio(results, "p50", "getServerVersions", "callFuncId");
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 9, .repeats = 5000};
    if (const auto status = readCommandLine(argc, argv, "Round trip of one request.", options))
        return *status;
    try {
        measure(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-bench-call: %s\n", error.what());
        return 1;
    }
    return 0;
}
