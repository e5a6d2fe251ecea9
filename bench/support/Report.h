// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Options.h"
#include "bench/support/Rounds.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::bench {

/// A column of a table: one counter of all programs.
struct Column {
    std::string heading;
    std::string counter;
    bool withRange = false;  // "median [min..max]" instead of the median alone
    double unit = 1;         // divisor for the values
    int digits = 0;          // digits after the decimal point
};

/// Goal of a ratio.
struct RatioGoal {
    // Implicit: most goals are just a number.
    RatioGoal(double most, std::string minimalProgram = {})
        : atMost(most), minimal(std::move(minimalProgram)) {}

    double atMost;
    /// A program with only the prescribed parts of the design, or empty. In runs where its own
    /// ratio to the denominator is above the goal, the goal is out of reach of the design.
    std::string minimal;
};

/// Prints the results and keeps them for the JSON file. Goals are only shown: no figure makes a
/// program fail.
class Report {
public:
    /// Prints the title and the machine with its load.
    Report(const std::string& title, const Options& options);

    /// Prints one line about the conditions of the measurement.
    void setting(const std::string& name, const std::string& value);
    /// One line per program that has one of the columns. Keeps all counters of all programs.
    void table(const std::string& title, const Results& results,
               const std::vector<Column>& columns);
    /// One line per counter of one program.
    void counters(const std::string& title, const Results& results, const std::string& program,
                  double unit, int digits);
    /// Ratio of two programs: the median of the ratios within single rounds, and their range.
    void ratio(const Results& results, const std::string& counter, const std::string& numerator,
               const std::string& denominator, const std::optional<RatioGoal>& goal = std::nullopt);
    /// Ratio of two counters of one program.
    void quotient(const Results& results, const std::string& program, const std::string& above,
                  const std::string& below, double atMost);
    /// A figure with its own goal.
    void figure(const std::string& name, double value, const std::string& unit, double goal,
                bool exactly);
    /// Prints the load at the end, and writes the JSON file if requested.
    void finish();

private:
    void addBound(nlohmann::ordered_json& entry, const Results& results, const RatioGoal& goal);
    void add(nlohmann::ordered_json entry);

    nlohmann::ordered_json mDocument;
    std::string mJson;
};

}  // namespace cabinaudio::bench
