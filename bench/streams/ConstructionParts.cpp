// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/ConstructionParts.h"

#include "bench/streams/MinimalStream.h"
#include "bench/support/Clock.h"
#include "bench/support/PartTimes.h"
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace cabinaudio::bench {

namespace {

constexpr int WARM_UP = 3;

struct Part {
    const char* name;
    std::uint64_t PartTimes::*time;
};
constexpr Part PARTS[] = {{"three thread starts", &PartTimes::threadStarts},
                          {"three thread names", &PartTimes::threadNames},
                          {"connection", &PartTimes::connection},
                          {"registration and creation", &PartTimes::requests},
                          {"fallocate", &PartTimes::reservation}};

using Samples = std::map<std::string, std::vector<std::uint64_t>>;

void constructOnce(Samples& samples) {
    PartTimes times;
    gPartTimes = &times;
    const std::uint64_t beginning = nowNs();
    const MinimalStream stream(ALTERNATIVE);
    const std::uint64_t all = nowNs() - beginning;
    gPartTimes = nullptr;
    std::uint64_t rest = all;
    for (const auto& [name, time] : PARTS) {
        samples[name].push_back(times.*time);
        rest -= times.*time;
    }
    samples["rest"].push_back(rest);
    samples["all"].push_back(all);
}

}  // namespace

void addConstructionParts(int repeats) {
    const auto measure = [](benchmark::State& state) {
        Samples samples;
        for (int i = 0; i < WARM_UP; ++i)
            constructOnce(samples);
        samples.clear();
        for (auto _ : state)
            constructOnce(samples);
        for (auto& [name, values] : samples)
            state.counters[name] = quantile(values, 0.5);
    };
    benchmark::RegisterBenchmark(CONSTRUCTION_PARTS, measure)->Iterations(repeats)->UseRealTime();
}

}  // namespace cabinaudio::bench
