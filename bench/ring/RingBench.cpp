// SPDX-License-Identifier: Apache-2.0
// ring-bench: time of write+read of one chunk in one thread, for our ring, for the same bytes moved
// by memcpy, and for its peers. Prints the medians of interleaved repetitions, and the others'
// ratio to ours in the same run. "+clock": takes the time once per write, as ours does. "called":
// the same behind two functions of a shared library, as ours is; without it the compiler puts the
// peer into the loop.
#include "bench/ring/Called.h"
#include "bench/ring/Copies.h"
#include "bench/ring/Ours.h"
#include "bench/ring/Peers.h"
#include "bench/ring/Stamped.h"

#include <android/log.h>
#include <benchmark/benchmark.h>
#include <sched.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace cabinaudio::bench;

struct alignas(64) Line {
    unsigned char bytes[64];
    bool operator==(const Line&) const = default;
};

template <typename Ring>
void writeAndRead(benchmark::State& state) {
    const auto chunk = static_cast<std::uint32_t>(state.range(1));
    // Whole cache lines, or it would be chance what memcpy does with them.
    std::vector<Line> src(chunk / sizeof(Line), Line{{0x5a}});
    std::vector<Line> dst(src.size());
    Ring ring(static_cast<std::uint32_t>(state.range(0)));
    for (auto round : state) {
        ring.write(src.data()->bytes, chunk);
        ring.read(dst.data()->bytes, chunk);
        benchmark::ClobberMemory();
    }
    if (src != dst) state.SkipWithError("the bytes did not come back");
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * chunk);
}

struct Variant {
    const char* name;
    void (*run)(benchmark::State&);
};

constexpr const char* kOurs = "ours";
constexpr Variant kVariants[] = {
    {kOurs, writeAndRead<Ours>},
    {"memcpy", writeAndRead<Copies>},
    {"memcpy+clock", writeAndRead<Stamped<Copies>>},
    {"memcpy+clock,called", writeAndRead<Called<Copies>>},
    {"spa", writeAndRead<Spa>},
    {"spa+clock", writeAndRead<Stamped<Spa>>},
    {"spa+clock,called", writeAndRead<Called<Spa>>},
    {"jack", writeAndRead<Jack>},
    {"jack+clock", writeAndRead<Stamped<Jack>>},
    {"boost", writeAndRead<Boost>},
    {"boost+clock", writeAndRead<Stamped<Boost>>},
    {"boost+clock,called", writeAndRead<Called<Boost>>},
};
constexpr int kRings[] = {64 << 10, 1 << 20};
constexpr int kChunks[] = {64, 192, 960, 3840, 16 << 10, 64 << 10};

struct Size {
    int ring;
    int chunk;
    bool operator<(const Size& other) const {
        return ring != other.ring ? ring < other.ring : chunk < other.chunk;
    }
};

/// Collects the medians, and prints them side by side at the end.
class Table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& /*context*/) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred)
                std::printf("%s: %s\n", run.run_name.str().c_str(), run.error_message.c_str());
            mFailed |= run.error_occurred;
            if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median") continue;
            char name[32] = {};
            Size size = {};
            if (std::sscanf(run.run_name.function_name.c_str(), "%31s", name) == 1 &&
                std::sscanf(run.run_name.args.c_str(), "ring:%d/chunk:%d", &size.ring,
                            &size.chunk) == 2)
                mMedians[size][name] = run.GetAdjustedRealTime();
        }
    }

    void print() const {
        std::printf("write+read of one chunk, ns, median\n");
        printRows("%20.1f", [](double /*ours*/, double other) { return other; });
        std::printf("\nthe others' time : ours, in this run\n");
        printRows("%20.2f", [](double ours, double other) { return other / ours; });
    }

    [[nodiscard]] bool failed() const { return mFailed || mMedians.empty(); }

private:
    template <typename Value>
    void printRows(const char* format, Value value) const {
        std::printf("%8s %6s", "ring", "chunk");
        for (const Variant& variant : kVariants)
            std::printf("%20s", variant.name);
        std::printf("\n");
        for (const auto& [size, medians] : mMedians) {
            std::printf("%8d %6d", size.ring, size.chunk);
            const auto ours = medians.find(kOurs);
            for (const Variant& variant : kVariants) {
                const auto other = medians.find(variant.name);
                if (other == medians.end() || ours == medians.end())
                    std::printf("%20s", "-");
                else
                    std::printf(format, value(ours->second, other->second));
            }
            std::printf("\n");
        }
    }

    std::map<Size, std::map<std::string, double>> mMedians;
    bool mFailed = false;
};

void registerAll() {
    for (const int ring : kRings)
        for (const int chunk : kChunks) {
            if (chunk >= ring) continue;  // one byte stays free
            for (const Variant& variant : kVariants)
                benchmark::RegisterBenchmark(variant.name, variant.run)
                    ->Args({ring, chunk})
                    ->ArgNames({"ring", "chunk"})
                    ->ReportAggregatesOnly();
        }
}

/// Keeps other programs from coming between, where that is allowed.
void askForQuiet() {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof(one), &one);
    const struct sched_param priority = {10};
    if (sched_setscheduler(0, SCHED_RR, &priority) != 0)
        std::printf("no real-time scheduling: expect more noise\n");
}

bool isGiven(int argc, char** argv, const char* option) {
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], option, std::strlen(option)) == 0) return true;
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=15";
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    char time[] = "--benchmark_min_time=0.02";
    for (char* const standard : {repetitions, interleaved, time})
        if (!isGiven(argc, argv, std::string(standard, std::strchr(standard, '=')).c_str()))
            arguments.push_back(standard);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    askForQuiet();
    registerAll();
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    table.print();
    return table.failed() ? 1 : 0;
}
