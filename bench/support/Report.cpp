// SPDX-License-Identifier: Apache-2.0
#include "bench/support/Report.h"

#include "bench/support/Machine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
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

bool hasOneOf(const Results& results, const std::string& program,
              const std::vector<Column>& columns) {
    const auto& counters = results.counters(program);
    return std::any_of(columns.begin(), columns.end(), [&counters](const Column& column) {
        return counters.contains(column.counter);
    });
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

/// Compares two digits after the point, as many as are shown on the page.
bool reaches(double ratio, double goal) {
    return std::round(ratio * 100) <= std::round(goal * 100);
}

/// Judges by the median of the rounds, and counts the rounds that judge otherwise.
std::string verdictOf(const nlohmann::ordered_json& entry, const std::vector<double>& rounds) {
    const double goal = entry["atMost"];
    const auto reached = std::count_if(rounds.begin(), rounds.end(),
                                       [goal](double ratio) { return reaches(ratio, goal); });
    const std::string ofRounds =
        std::to_string(reached) + " of " + std::to_string(rounds.size()) + " rounds";
    if (reaches(spreadOf(rounds).median, goal))
        return reached == static_cast<std::ptrdiff_t>(rounds.size()) ? "reached"
                                                                     : "reached in " + ofRounds;
    if (entry.contains("bound")) {
        const double bound = spreadOf(entry["bound"]["rounds"]).median;
        if (!reaches(bound, goal))
            return "out of reach: " + entry["bound"]["program"].get<std::string>() + " has " +
                   number(bound, 3);
    }
    return reached == 0 ? "MISSED" : "MISSED, reached in " + ofRounds;
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
        for (const auto& [counter, values] : results.counters(program))
            mDocument["rounds"][program][counter] = values;
        if (!hasOneOf(results, program, columns)) continue;
        Row& row = rows.emplace_back(Row{program});
        for (const Column& column : columns)
            row.push_back(cell(results, program, column));
    }
    std::printf("\n%s\n", title.c_str());
    printAligned(rows);
}

void Report::counters(const std::string& title, const Results& results, const std::string& program,
                      double unit, int digits) {
    if (!results.has(program)) return;  // excluded by a filter
    std::vector<Row> rows;
    for (const auto& [counter, values] : results.counters(program))
        rows.push_back({counter, cell(results, program, {counter, counter, true, unit, digits})});
    std::printf("\n%s\n", title.c_str());
    printAligned(rows);
}

void Report::ratio(const Results& results, const std::string& counter, const std::string& numerator,
                   const std::string& denominator, const std::optional<RatioGoal>& goal) {
    if (!results.has(numerator) || !results.has(denominator)) return;  // excluded by a filter
    nlohmann::ordered_json entry{
        {"counter", counter},
        {"numerator", numerator},
        {"denominator", denominator},
        {"rounds", results.ratios(numerator, counter, denominator, counter)}};
    if (goal) {
        entry["atMost"] = goal->atMost;
        addBound(entry, results, *goal);
    }
    std::printf("  %s, %s / %s", counter.c_str(), numerator.c_str(), denominator.c_str());
    add(std::move(entry));
}

void Report::quotient(const Results& results, const std::string& program, const std::string& above,
                      const std::string& below, double atMost) {
    if (!results.has(program)) return;  // excluded by a filter
    std::printf("  %s: %s / %s", program.c_str(), above.c_str(), below.c_str());
    add({{"counter", above + " / " + below},
         {"numerator", program},
         {"denominator", "itself"},
         {"rounds", results.ratios(program, above, program, below)},
         {"atMost", atMost}});
}

void Report::addBound(nlohmann::ordered_json& entry, const Results& results,
                      const RatioGoal& goal) {
    if (!results.has(goal.minimal)) return;
    const std::string counter = entry["counter"];
    entry["bound"] = {
        {"program", goal.minimal},
        {"rounds", results.ratios(goal.minimal, counter, entry["denominator"], counter)}};
}

/// Prints the ratio of an entry after its name, and keeps the entry.
void Report::add(nlohmann::ordered_json entry) {
    const std::vector<double> rounds = entry["rounds"];
    const Spread ratio = spreadOf(rounds);
    std::printf(": %s %s", number(ratio.median, 3).c_str(), range(ratio, 1, 3).c_str());
    if (entry.contains("atMost"))
        std::printf("  (goal: at most %s, %s)", number(entry["atMost"], 2).c_str(),
                    verdictOf(entry, rounds).c_str());
    std::printf("\n");
    mDocument["ratios"].push_back(std::move(entry));
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
