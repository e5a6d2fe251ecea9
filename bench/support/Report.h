// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Options.h"
#include "bench/support/Rounds.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
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

/// Prints the results and keeps them for the JSON file. Goals are only shown: no figure makes a
/// program fail.
class Report {
public:
    /// Prints the title and the machine with its load.
    Report(const std::string& title, const Options& options);

    /// Prints one line about the conditions of the measurement.
    void setting(const std::string& name, const std::string& value);
    /// One line per program.
    void table(const std::string& title, const Results& results,
               const std::vector<Column>& columns);
    /// Ratio of two programs' medians; the range is that of the ratios within single rounds.
    void ratio(const Results& results, const std::string& counter, const std::string& numerator,
               const std::string& denominator, std::optional<double> atMost = std::nullopt);
    /// Ratio of two counters of one program.
    void quotient(const Results& results, const std::string& program, const std::string& above,
                  const std::string& below, double atMost);
    /// A figure with its own goal.
    void figure(const std::string& name, double value, const std::string& unit, double goal,
                bool exactly);
    /// Prints the load at the end, and writes the JSON file if requested.
    void finish();

private:
    nlohmann::ordered_json mDocument;
    std::string mJson;
};

}  // namespace cabinaudio::bench
