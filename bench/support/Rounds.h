// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// Distribution of a value over several rounds.
struct Spread {
    double median;
    double min;
    double max;
};
Spread spreadOf(std::vector<double> values);

/// The value below which a `share` (0 to 1) of the samples lies. Sorts them.
double quantile(std::vector<std::uint64_t>& samples, double share);

/// One value per round of every counter of every program.
class Results {
public:
    void add(const std::string& program, const std::string& counter, double value);

    /// In the order in which they were first added.
    [[nodiscard]] const std::vector<std::string>& programs() const { return mPrograms; }
    [[nodiscard]] const std::map<std::string, std::vector<double>>& counters(
        const std::string& program) const;
    [[nodiscard]] bool has(const std::string& program) const { return mValues.contains(program); }
    [[nodiscard]] const std::vector<double>& values(const std::string& program,
                                                    const std::string& counter) const;
    [[nodiscard]] Spread spread(const std::string& program, const std::string& counter) const;
    /// Ratio of one counter to another, of the same program or of two, within each round.
    [[nodiscard]] std::vector<double> ratios(const std::string& numerator, const std::string& above,
                                             const std::string& denominator,
                                             const std::string& below) const;

private:
    std::vector<std::string> mPrograms;
    std::map<std::string, std::map<std::string, std::vector<double>>> mValues;
};

/// Runs all registered benchmarks once, in the order of their registration, then all of them again,
/// and so on, so that a temporary disturbance affects all of them. Collects their counters.
/// @throws std::runtime_error when a benchmark reports an error
Results runInRounds(int rounds);

}  // namespace cabinaudio::bench
