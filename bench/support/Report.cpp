// SPDX-License-Identifier: Apache-2.0
#include "bench/support/Report.h"

#include "bench/support/Machine.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

std::string number(double value, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string range(const Spread& spread, double unit, int digits) {
    return "[" + number(spread.min / unit, digits) + ".." + number(spread.max / unit, digits) + "]";
}

std::string cell(const Results& results, const std::string& program, const Column& column) {
    const auto& counters = results.counters(program);
    const auto found = counters.find(column.counter);
    if (found == counters.end()) return "-";
    const Spread spread = spreadOf(found->second);
    const std::string median = number(spread.median / column.unit, column.digits);
    return column.withRange ? median + " " + range(spread, column.unit, column.digits) : median;
}

using Row = std::vector<std::string>;

void printAligned(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            std::printf(i == 0 ? "  %-*s" : "  %*s", static_cast<int>(widths[i]), row[i].c_str());
        std::printf("\n");
    }
}

const char* verdict(bool reached) {
    return reached ? "reached" : "MISSED";
}

}  // namespace

Report::Report(const std::string& title, const Options& options) : mJson(options.json) {
    std::printf("%s\n", title.c_str());
    mDocument["title"] = title;
    setting("machine", describeMachine());
    setting("load before", loadAverages());
    setting("rounds", std::to_string(options.rounds) + ", programs in turn; " +
                          std::to_string(options.repeats) + " measurements of each in a round");
}

void Report::setting(const std::string& name, const std::string& value) {
    std::printf("  %s: %s\n", name.c_str(), value.c_str());
    mDocument["settings"][name] = value;
}

void Report::table(const std::string& title, const Results& results,
                   const std::vector<Column>& columns) {
    std::vector<Row> rows{{""}};
    for (const Column& column : columns)
        rows.front().push_back(column.heading);
    for (const std::string& program : results.programs()) {
        Row& row = rows.emplace_back(Row{program});
        for (const Column& column : columns)
            row.push_back(cell(results, program, column));
        for (const auto& [counter, values] : results.counters(program))
            mDocument["rounds"][program][counter] = values;
    }
    std::printf("\n%s\n", title.c_str());
    printAligned(rows);
}

void Report::ratio(const Results& results, const std::string& counter, const std::string& numerator,
                   const std::string& denominator, std::optional<double> atMost) {
    if (!results.has(numerator) || !results.has(denominator)) return;  // excluded by a filter
    const std::vector<double>& above = results.values(numerator, counter);
    const std::vector<double>& below = results.values(denominator, counter);
    std::vector<double> single;
    for (std::size_t i = 0; i < std::min(above.size(), below.size()); ++i)
        single.push_back(above[i] / below[i]);
    const double value = spreadOf(above).median / spreadOf(below).median;
    std::printf("  %s, %s / %s: %s %s", counter.c_str(), numerator.c_str(), denominator.c_str(),
                number(value, 3).c_str(), range(spreadOf(single), 1, 3).c_str());
    nlohmann::ordered_json entry{{"counter", counter},
                                 {"numerator", numerator},
                                 {"denominator", denominator},
                                 {"ratio", value},
                                 {"rounds", single}};
    if (atMost) {
        std::printf("  (goal: at most %s, %s)", number(*atMost, 2).c_str(),
                    verdict(value <= *atMost));
        entry["atMost"] = *atMost;
    }
    std::printf("\n");
    mDocument["ratios"].push_back(entry);
}

void Report::quotient(const Results& results, const std::string& program, const std::string& above,
                      const std::string& below, double atMost) {
    if (!results.has(program)) return;  // excluded by a filter
    const double value =
        results.spread(program, above).median / results.spread(program, below).median;
    std::vector<double> single;
    const std::vector<double>& denominators = results.values(program, below);
    for (std::size_t i = 0; i < denominators.size(); ++i)
        single.push_back(results.values(program, above)[i] / denominators[i]);
    std::printf("  %s: %s / %s: %s %s  (goal: at most %s, %s)\n", program.c_str(), above.c_str(),
                below.c_str(), number(value, 2).c_str(), range(spreadOf(single), 1, 2).c_str(),
                number(atMost, 2).c_str(), verdict(value <= atMost));
    mDocument["ratios"].push_back({{"counter", above + " / " + below},
                                   {"numerator", program},
                                   {"denominator", "itself"},
                                   {"ratio", value},
                                   {"rounds", single},
                                   {"atMost", atMost}});
}

void Report::figure(const std::string& name, double value, const std::string& unit, double goal,
                    bool exactly) {
    std::printf("  %s: %s%s  (goal: %s %s, %s)\n", name.c_str(), number(value, 0).c_str(),
                unit.c_str(), exactly ? "exactly" : "at most", number(goal, 0).c_str(),
                verdict(exactly ? value == goal : value <= goal));
    mDocument["figures"].push_back(
        {{"name", name}, {"value", value}, {exactly ? "exactly" : "atMost", goal}});
}

void Report::finish() {
    std::printf("\n");
    setting("load after", loadAverages());
    if (mJson.empty()) return;
    std::ofstream file(mJson);
    file << mDocument.dump(2) << "\n";
    if (!file.flush()) throw std::runtime_error("cannot write " + mJson);
}

}  // namespace cabinaudio::bench
