// SPDX-License-Identifier: Apache-2.0
// Checks of when streams are heard: starts, lasts, order, overlap and apart.
#include "devkit/hear/Error.h"
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Levels.h"
#include "devkit/hear/Numbers.h"
#include "devkit/hear/Streams.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace cabinaudio::hear {
namespace {

constexpr double ONSET_TOLERANCE_MS = 1;
constexpr double ONSET_DB = -80;

/// First frame of the stream in the view: from report or stem, otherwise the onset of any sound.
std::optional<std::size_t> startOf(const Recording& recording, const View& view,
                                   const std::string& name) {
    if (!recording.report.isPresent && !recording.stems.contains(name)) {
        const std::size_t onset = firstAtLeast(view, amplitudeOf(ONSET_DB));
        return onset < view.end ? std::optional(onset) : std::nullopt;
    }
    for (const Interval& interval : intervalsOf(recording, name))
        if (interval.begin >= view.begin && interval.begin < view.end) return interval.begin;
    return {};
}

Outcome checkStart(const Recording& recording, const View& view, const std::string& name, double ms,
                   const std::optional<double>& tolerance) {
    const double slackMs = tolerance.value_or(recording.report.isPresent ? 0 : ONSET_TOLERANCE_MS);
    std::string required = "start at " + secondsText(ms / 1000);
    if (slackMs > 0) required += " +-" + numberText(slackMs, 3) + " ms";
    const auto start = startOf(recording, view, name);
    if (!start) return {false, '"' + name + "\" does not start", required, {}};
    const auto wanted = static_cast<double>(frameAt(ms / 1000, view.sound.rate));
    const double distance = std::abs(static_cast<double>(*start) - wanted);
    const bool isMet = distance <= slackMs * view.sound.rate / 1000 + 1e-9;
    return {isMet,
            "starts at " + secondsText(view.seconds(*start)) + ", frame " + std::to_string(*start),
            required, view.seconds(*start)};
}

Outcome checkLength(const Recording& recording, const View& view, const std::string& name,
                    double seconds, double toleranceMs) {
    std::size_t frames = view.sound.frames();
    if (!name.empty()) {
        const std::vector<Interval> intervals = intervalsOf(recording, name);
        frames = std::accumulate(intervals.begin(), intervals.end(), std::size_t{0},
                                 [](std::size_t sum, const Interval& interval) {
                                     return sum + interval.end - interval.begin;
                                 });
    }
    const double measured = view.seconds(frames);
    return {std::abs(measured - seconds) <= toleranceMs / 1000 + 1e-9,
            secondsText(measured) + ", " + std::to_string(frames) + " frames",
            secondsText(seconds) + " +-" + numberText(toleranceMs, 3) + " ms",
            {}};
}

Outcome checkOrder(const Recording& recording, const View& view,
                   const std::vector<std::string>& names) {
    std::string measured;
    std::optional<std::size_t> before;
    Outcome outcome{true, "", "each starts after the one before it", {}};
    for (const std::string& name : names) {
        const std::vector<Interval> intervals = intervalsOf(recording, name);
        if (intervals.empty()) return {false, '"' + name + "\" is not heard", outcome.required, {}};
        const std::size_t start = intervals.front().begin;
        outcome.measured += (outcome.measured.empty() ? "" : ", ") + name + " at " +
                            secondsText(view.seconds(start));
        if (before && start <= *before && outcome.isMet) {
            outcome.isMet = false;
            outcome.at = view.seconds(start);
        }
        before = start;
    }
    return outcome;
}

std::vector<Interval> common(const std::vector<Interval>& some,
                             const std::vector<Interval>& others) {
    std::vector<Interval> result;
    for (const Interval& a : some) {
        for (const Interval& b : others) {
            const Interval both{std::max(a.begin, b.begin), std::min(a.end, b.end)};
            if (both.begin < both.end) result.push_back(both);
        }
    }
    return result;
}

std::vector<Interval> heardIn(const Recording& recording, const View& view,
                              const std::string& name) {
    return common(intervalsOf(recording, name), {{view.begin, view.end}});
}

Outcome checkOverlap(const Recording& recording, const View& view,
                     const std::vector<std::string>& names) {
    std::vector<Interval> all = heardIn(recording, view, names.front());
    for (const std::string& name : names)
        all = common(all, heardIn(recording, view, name));
    const std::string required = "heard at the same time";
    if (all.empty()) return {false, "not heard at the same time", required, {}};
    std::size_t frames = 0;
    for (const Interval& interval : all)
        frames += interval.end - interval.begin;
    return {true,
            "together for " + secondsText(view.seconds(frames)) + ", from " +
                secondsText(view.seconds(all.front().begin)) + " on",
            required,
            {}};
}

Outcome checkApart(const Recording& recording, const View& view,
                   const std::vector<std::string>& names) {
    const std::string required = "never heard at the same time";
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::vector<Interval> one = heardIn(recording, view, names[i]);
        if (one.empty()) return {false, '"' + names[i] + "\" is not heard", required, {}};
        for (std::size_t j = i + 1; j < names.size(); ++j) {
            const std::vector<Interval> both = common(one, heardIn(recording, view, names[j]));
            if (!both.empty())
                return {false, names[i] + " and " + names[j] + " are heard together", required,
                        view.seconds(both.front().begin)};
        }
    }
    return {true, "one at a time", required, {}};
}

/// Two names at least.
std::vector<std::string> namesIn(Phrase& phrase) {
    std::vector<std::string> names{phrase.next("the name of a stream"),
                                   phrase.next("the name of another stream")};
    while (phrase.hasMore())
        names.push_back(phrase.next("the name of a stream"));
    return names;
}

using StreamCheck = Outcome (*)(const Recording&, const View&, const std::vector<std::string>&);

void parseNames(Phrase& phrase, Check& check, StreamCheck make) {
    const std::vector<std::string> names = namesIn(phrase);
    check.readsSamples = false;
    check.make = [=](const Recording& recording, const View& view) {
        return make(recording, view, names);
    };
}

}  // namespace

void parseStarts(Phrase& phrase, Check& check) {
    const auto [name, time] = phrase.nextPair("NAME@MS", '@', true);
    const double ms = phrase.numberIn(time, "the time behind @", Unit::Ms);
    if (ms < 0) phrase.fail("the time behind @ must not be negative");
    const std::optional<double> tolerance = phrase.optionalTolerance(Unit::Ms);
    const std::string stream = name;
    check.seconds = ms / 1000 + tolerance.value_or(ONSET_TOLERANCE_MS) / 1000 + PERIOD_MS / 1000;
    check.make = [=](const Recording& recording, const View& view) {
        return checkStart(recording, view, stream, ms, tolerance);
    };
}

void parseLasts(Phrase& phrase, Check& check) {
    const std::string first = phrase.next("a length");
    const bool hasName = phrase.startsWithNumber();
    const double seconds = hasName ? phrase.nextNumber("a length", Unit::Second)
                                   : phrase.numberIn(first, "a length", Unit::Second);
    const std::string name = hasName ? first : "";
    const double tolerance = phrase.tolerance(PERIOD_MS, Unit::Ms);
    check.seconds = seconds + 2 * tolerance / 1000;
    check.endsWithTheSound = false;
    check.readsSamples = false;
    check.make = [=](const Recording& recording, const View& view) {
        return checkLength(recording, view, name, seconds, tolerance);
    };
}

void parseOrder(Phrase& phrase, Check& check) {
    parseNames(phrase, check, checkOrder);
}

void parseOverlap(Phrase& phrase, Check& check) {
    parseNames(phrase, check, checkOverlap);
}

void parseApart(Phrase& phrase, Check& check) {
    parseNames(phrase, check, checkApart);
}

}  // namespace cabinaudio::hear
