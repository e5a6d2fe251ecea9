// SPDX-License-Identifier: Apache-2.0
#include "bench/support/Rounds.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

/// Prints nothing, because the figures are complete only after all rounds.
class Collector : public benchmark::BenchmarkReporter {
public:
    explicit Collector(Results& results) : mResults(results) {}
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string& program = run.run_name.function_name;
            if (run.error_occurred) throw std::runtime_error(program + ": " + run.error_message);
            if (run.run_type != Run::RT_Iteration) continue;
            for (const auto& [counter, value] : run.counters)
                mResults.add(program, counter, value.value);
        }
    }

private:
    Results& mResults;
};

}  // namespace

Spread spreadOf(std::vector<double> values) {
    if (values.empty()) throw std::invalid_argument("no values");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    const double median =
        values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
}

double quantile(std::vector<std::uint64_t>& samples, double share) {
    if (samples.empty()) throw std::invalid_argument("no samples");
    std::sort(samples.begin(), samples.end());
    const auto last = static_cast<double>(samples.size() - 1);
    return static_cast<double>(samples[static_cast<std::size_t>(std::lround(last * share))]);
}

void Results::add(const std::string& program, const std::string& counter, double value) {
    if (!has(program)) mPrograms.push_back(program);
    mValues[program][counter].push_back(value);
}

const std::map<std::string, std::vector<double>>& Results::counters(
    const std::string& program) const {
    return mValues.at(program);
}

const std::vector<double>& Results::values(const std::string& program,
                                           const std::string& counter) const {
    return mValues.at(program).at(counter);
}

Spread Results::spread(const std::string& program, const std::string& counter) const {
    return spreadOf(values(program, counter));
}

std::vector<double> Results::ratios(const std::string& numerator, const std::string& above,
                                    const std::string& denominator,
                                    const std::string& below) const {
    const std::vector<double>& tops = values(numerator, above);
    const std::vector<double>& bottoms = values(denominator, below);
    if (tops.size() != bottoms.size())
        throw std::invalid_argument(numerator + " and " + denominator +
                                    " were not measured in the same rounds");
    std::vector<double> ratios(tops.size());
    std::transform(tops.begin(), tops.end(), bottoms.begin(), ratios.begin(), std::divides<>());
    return ratios;
}

Results runInRounds(int rounds) {
    Results results;
    Collector collector(results);
    for (int round = 0; round < rounds; ++round)
        benchmark::RunSpecifiedBenchmarks(&collector);
    return results;
}

}  // namespace cabinaudio::bench
