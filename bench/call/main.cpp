// SPDX-License-Identifier: Apache-2.0
// Client-side cost of a request: the library against the bare exchange of the same bytes and
// against a minimal program whose receive thread hands replies over to the requester; settings
// operations against bare requests of the same size; and requests of other systems.
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "bench/call/HeapBlocks.h"
#include "bench/call/PingPong.h"
#include "bench/call/peers/Requesters.h"
#include "bench/support/AnsweringServer.h"
#include "bench/support/Clock.h"
#include "bench/support/HandOver.h"
#include "bench/support/LogSink.h"
#include "bench/support/Machine.h"
#include "bench/support/Options.h"
#include "bench/support/Report.h"
#include "bench/support/Rounds.h"
#include "wire/Settings.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>

using namespace cabinaudio::bench;

namespace {

constexpr std::uint32_t FUNCTION = 1;
constexpr std::int32_t ARGUMENT = 2;
constexpr auto GET_FUNCTION =
    static_cast<std::uint32_t>(cabinaudio::wire::VolumeFunction::GetMasterGain);
constexpr float GAIN_DB = -20.0F;
constexpr int WARM_UP = 200;
constexpr int MOST_PEER_REPEATS = 2000;
constexpr double MOST_P99 = 1.5;
constexpr double MOST_OF_PEERS = 0.85;

/// A settings operation, and the bare request of the same size.
struct Pair {
    const char* operation;
    const char* bare;
};
constexpr Pair SETTINGS[] = {{"setMasterVolume", "callFuncId"},
                             {"getMasterVolume", "callFuncId+value"},
                             {"setChannelGain", "callFuncId 2 arguments"}};

std::uint64_t contextSwitches() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_nvcsw + usage.ru_nivcsw);
}

/// Registers a benchmark of consecutive round trips.
/// @param roundTrip  returns whether it succeeded
template <typename RoundTrip>
void addProgram(const char* name, int repeats, RoundTrip roundTrip) {
    const auto measure = [roundTrip, repeats](benchmark::State& state) {
        for (int i = 0; i < WARM_UP; ++i)
            roundTrip();
        std::vector<std::uint64_t> samples;
        samples.reserve(static_cast<std::size_t>(repeats));
        const std::uint64_t switchesBefore = contextSwitches();
        const std::uint64_t blocksBefore = heapBlocks();
        const std::uint64_t cpuBefore = nanoseconds(CLOCK_PROCESS_CPUTIME_ID);
        for (auto _ : state) {
            const std::uint64_t before = nowNs();
            if (!roundTrip()) return state.SkipWithError("a request failed");
            samples.push_back(nowNs() - before);
        }
        const std::uint64_t cpu = nanoseconds(CLOCK_PROCESS_CPUTIME_ID) - cpuBefore;
        const std::uint64_t blocks = heapBlocks() - blocksBefore;
        const std::uint64_t switches = contextSwitches() - switchesBefore;
        state.counters["p50"] = quantile(samples, 0.5);
        state.counters["p99"] = quantile(samples, 0.99);
        state.counters["cpu"] = static_cast<double>(cpu) / repeats;
        state.counters["blocks"] = static_cast<double>(blocks) / repeats;
        state.counters["switches"] = static_cast<double>(switches) / repeats;
    };
    benchmark::RegisterBenchmark(name, measure)->Iterations(repeats)->UseRealTime();
}

void measure(const Options& options) {
    const PrivateInstance instance;
    setLogLines(LogLines::Dropped);
    const int cpu = options.anyCpu ? -1 : pinToCpu(options.cpu);
    const AnsweringServer server(5);  // one connection per program

    PingPong raw;
    HandOver handOver(AUDIO_CONNECT_VOLUME_SETTING, "bench");
    RemoteCall library(AUDIO_CONNECT_VOLUME_SETTING, nullptr, nullptr, "bench");
    ClientVersionSetting version;
    ClientVolumeSetting volume;
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
    addProgram("callFuncId+value", options.repeats, [&] {
        std::int32_t value = 0;
        return library.callFuncId(GET_FUNCTION, &value, true) == AUDIO_NO_ERROR;
    });
    addProgram("callFuncId 2 arguments", options.repeats, [&] {
        return library.callFuncId(FUNCTION, ARGUMENT, ARGUMENT, true) == AUDIO_NO_ERROR;
    });
    addProgram("setMasterVolume", options.repeats,
               [&] { return volume.setMasterVolume(GAIN_DB) == AUDIO_NO_ERROR; });
    addProgram("getMasterVolume", options.repeats, [&] {
        float gain = 0;
        return volume.getMasterVolume(&gain) == AUDIO_NO_ERROR;
    });
    addProgram("setChannelGain", options.repeats, [&] {
        return volume.setChannelGain(audio::AUDIO_CHANNEL_LF, GAIN_DB) == AUDIO_NO_ERROR;
    });

    Report report("Round trip of one request", options);
    const Requesters peers;
    for (const Requesters::Entry& entry : peers.all()) {
        report.setting(entry.name, entry.requester ? "its own server"
                                                   : "not measured: " + entry.unavailableReason);
        Requester* const requester = entry.requester.get();
        if (requester != nullptr)
            addProgram(entry.name.c_str(), std::min(options.repeats, MOST_PEER_REPEATS),
                       [requester] { return requester->request(); });
    }
    report.setting("processor", cpu < 0 ? "all of them, nothing is pinned"
                                        : "everything on CPU " + std::to_string(cpu));
    report.setting("server and receive threads", mayBeRealTime()
                                                     ? "SCHED_RR, highest priority"
                                                     : "ordinary scheduling: SCHED_RR is refused");
    const Results results = runInRounds(options.rounds);
    report.table(
        "Medians of the rounds [min..max], ns; per request: CPU time, context switches and "
        "heap blocks of the client",
        results,
        {{"p50", "p50", true},
         {"p99", "p99", true},
         {"CPU", "cpu"},
         {"switches", "switches", false, 1, 1},
         {"blocks", "blocks", false, 1, 1}});
    std::printf("\nRatios within a round, medians [min..max]\n");
    report.ratio(results, "p50", "callFuncId", "handover", 1.05);
    report.quotient(results, "callFuncId", "p99", "p50", MOST_P99);
    for (const Requesters::Entry& entry : peers.all()) {
        report.ratio(results, "p50", "callFuncId", entry.name,
                     RatioGoal(MOST_OF_PEERS, "handover"));
        report.ratio(results, "p50", "handover", entry.name);
    }
    report.ratio(results, "p99", "callFuncId", "handover");
    report.ratio(results, "cpu", "callFuncId", "handover");
    report.ratio(results, "p50", "handover", "raw");
    report.ratio(results, "p50", "callFuncId", "raw");
    report.ratio(results, "p50", "getServerVersions", "callFuncId");
    for (const auto& [operation, bare] : SETTINGS) {
        report.ratio(results, "p50", operation, bare, 1.03);
        report.ratio(results, "cpu", operation, bare);
    }
    std::printf("\nHeap blocks of one operation, request and reply\n");
    for (const auto& [operation, bare] : SETTINGS)
        if (results.has(operation))
            report.figure(operation, results.spread(operation, "blocks").max, "", 2, true);
    report.finish();
}

}  // namespace

int main(int argc, char** argv) {
    Options options{.rounds = 21, .repeats = 3000};
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
