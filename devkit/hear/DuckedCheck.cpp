// SPDX-License-Identifier: Apache-2.0
// Ducking: how much softer a stream is while another one is heard, and how fast it becomes so.
#include "devkit/hear/DuckedTimes.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Gains.h"
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Numbers.h"
#include "devkit/hear/Streams.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::hear {
namespace {

// The server's rules, see devkit/server/README.md.
constexpr double HOLD_MS = 200;
constexpr double RAMP_MS = 20;

constexpr double TOLERANCE_DB = 1;
constexpr double WINDOW_MS = 4;  // a gain is measured in
constexpr double BEFORE_MS = 200;

struct Ducking {
    std::string name;
    double depth;  // dB, negative
    std::string prompt;
    double tolerance = TOLERANCE_DB;
    double rampMs = RAMP_MS;
    double holdMs = HOLD_MS;
};

/// Of the gains relative to the usual one.
struct Measured {
    std::vector<double> depths;    // dB
    bool isHeardTogether = false;  // at least one depth is of a time when the prompt is heard
    std::optional<double> attackMs;
    std::optional<double> releaseMs;
    std::optional<std::size_t> fault;  // frame
    std::string why;
    std::string note;  // what was left out
};

class DuckingMeter {
public:
    DuckingMeter(const Recording& recording, const Ducking& ducking)
        : mDucking(ducking),
          mRate(recording.heard.rate),
          mFrames(recording.heard.frames()),
          mGains(recording),
          mTimes(recording, {ducking.name, ducking.prompt},
                 {frames(ducking.holdMs + 2 * PERIOD_MS), frames(ducking.rampMs)}) {}

    /// Looks at one prompt.
    [[nodiscard]] Measured measure(const Interval& prompt) const {
        Measured result;
        const std::optional<double> usual = usualGain(prompt);
        if (!usual || *usual <= 0) {
            result.fault = prompt.begin;
            result.why = '"' + mDucking.name + "\" is not heard without \"" + mDucking.prompt +
                         "\" or another stream that ducks";
            return result;
        }
        measureAttack(prompt, *usual, result);
        measureDepth(prompt, *usual, result);
        measureRelease(prompt, *usual, result);
        const std::size_t steady = prompt.begin + frames(PERIOD_MS + mDucking.rampMs);
        const bool isLong = prompt.end > steady + 2 * frames(WINDOW_MS);
        if (result.why.empty() && (isLong ? !result.isHeardTogether : result.depths.empty())) {
            result.fault = prompt.begin;
            result.why = '"' + mDucking.name + "\" cannot be measured during \"" + mDucking.prompt +
                         "\": it is too soft, or sounds like another stream";
        }
        return result;
    }

private:
    [[nodiscard]] std::size_t frames(double ms) const {
        return static_cast<std::size_t>(std::llround(ms * mRate / 1000));
    }
    [[nodiscard]] double ms(std::size_t count) const {
        return 1000.0 * static_cast<double>(count) / mRate;
    }

    /// Calls take(frame, gain) for each window in which the gain can be measured, until it is
    /// false.
    template <typename Take>
    void forEachGain(std::size_t begin, std::size_t end, Take take) const {
        const std::size_t step = std::max<std::size_t>(frames(WINDOW_MS), 1);
        const std::size_t stop = std::min(end, mFrames);
        for (std::size_t at = begin; at < stop && stop - at >= step; at += step) {
            const auto gain = mGains.of(mDucking.name, at, at + step);
            if (gain && !take(at, *gain)) return;
        }
    }

    /// The gains in times in which nothing ducks.
    [[nodiscard]] std::vector<double> freeGains(const Interval& interval) const {
        std::vector<double> gains;
        forEachGain(interval.begin, interval.end, [&](std::size_t at, double gain) {
            if (!mTimes.isDucked({at, at + frames(WINDOW_MS)})) gains.push_back(gain);
            return true;
        });
        return gains;
    }

    /// Median before the prompt; if there is nothing to hear, behind it; otherwise where the stream
    /// was last or is next heard without ducking.
    [[nodiscard]] std::optional<double> usualGain(const Interval& prompt) const {
        const std::size_t length = frames(BEFORE_MS);
        const std::size_t released =
            prompt.end + frames(mDucking.holdMs + 2 * PERIOD_MS + mDucking.rampMs);
        std::vector<double> gains =
            freeGains({prompt.begin - std::min(prompt.begin, length), prompt.begin});
        if (gains.empty()) gains = freeGains({released, released + length});
        if (gains.empty()) gains = freeGains(mTimes.freeBefore(prompt.begin, length));
        if (gains.empty()) gains = freeGains(mTimes.freeBehind(released, length));
        if (gains.empty()) return {};
        std::nth_element(gains.begin(),
                         gains.begin() + static_cast<std::ptrdiff_t>(gains.size() / 2),
                         gains.end());
        return gains[gains.size() / 2];
    }

    void measureAttack(const Interval& prompt, double usual, Measured& result) const {
        forEachGain(prompt.begin, prompt.end, [&](std::size_t at, double gain) {
            if (std::abs(decibels(gain / usual) - mDucking.depth) > mDucking.tolerance) return true;
            result.attackMs = ms(at - prompt.begin);
            return false;
        });
    }

    void measureDepth(const Interval& prompt, double usual, Measured& result) const {
        const std::size_t begin = prompt.begin + frames(PERIOD_MS + mDucking.rampMs);
        forEachGain(begin, prompt.end + frames(mDucking.holdMs), [&](std::size_t at, double gain) {
            const double depth = decibels(gain / usual);
            result.depths.push_back(depth);
            result.isHeardTogether = result.isHeardTogether || at < prompt.end;
            if (!result.fault && std::abs(depth - mDucking.depth) > mDucking.tolerance) {
                result.fault = at;
                result.why = numberText(depth, 2) + " dB";
            }
            return true;
        });
    }

    void measureRelease(const Interval& prompt, double usual, Measured& result) const {
        const std::size_t last =
            prompt.end + frames(mDucking.holdMs + PERIOD_MS + mDucking.rampMs + WINDOW_MS);
        std::optional<std::size_t> ducked;
        forEachGain(prompt.end, last + frames(BEFORE_MS), [&](std::size_t at, double gain) {
            const auto other = mTimes.otherAt({at, at + frames(WINDOW_MS)}, prompt);
            if (other) {
                result.note = "release not judged while \"" + *other + "\" may duck";
                return true;
            }
            if (std::abs(decibels(gain / usual)) > mDucking.tolerance) {
                ducked = at;
                return true;
            }
            result.releaseMs = ms(at - prompt.end);
            return false;
        });
        if (result.releaseMs && *result.releaseMs <= ms(last - prompt.end)) result.note.clear();
        const bool isLate = ducked && *ducked + frames(WINDOW_MS) > last;
        if (!isLate || result.fault) return;
        result.fault = last;
        result.why = "not released " + numberText(ms(last - prompt.end), 0) + " ms after the end";
    }

    const Ducking& mDucking;
    const unsigned mRate;
    const std::size_t mFrames;
    const Gains mGains;
    const DuckedTimes mTimes;
};

/// A gap that is shorter than the hold time does not end a prompt.
std::vector<Interval> joined(const std::vector<Interval>& intervals, std::size_t longestGap) {
    std::vector<Interval> result;
    for (const Interval& interval : intervals) {
        if (!result.empty() && interval.begin <= result.back().end + longestGap)
            result.back().end = interval.end;
        else
            result.push_back(interval);
    }
    return result;
}

std::string requirementOf(const Ducking& ducking) {
    return numberText(ducking.depth, 2) + " dB +-" + numberText(ducking.tolerance, 2) +
           " dB from " + numberText(PERIOD_MS + ducking.rampMs, 0) + " ms after its start until " +
           numberText(ducking.holdMs, 0) + " ms after its end";
}

std::string measuredOf(const Measured& measured) {
    if (measured.depths.empty()) return measured.why;
    std::vector<double> sorted = measured.depths;
    std::sort(sorted.begin(), sorted.end());
    std::string text = numberText(sorted[sorted.size() / 2], 2) + " dB";
    if (measured.attackMs) text += " " + numberText(*measured.attackMs, 0) + " ms after the start";
    if (measured.releaseMs)
        text += ", released " + numberText(*measured.releaseMs, 0) + " ms after the end";
    if (!measured.note.empty()) text += "; " + measured.note;
    if (!measured.why.empty()) text += "; " + measured.why;
    return text;
}

/// Gains depend on the tag.
void requireOneTag(const Recording& recording, const std::string& name) {
    const std::vector<const StreamReport*> entries = entriesOf(recording, name);
    for (const StreamReport* entry : entries)
        if (entry->tag != entries.front()->tag)
            throw Error("the report has streams \"" + name + "\" of several tags");
}

Outcome checkDucked(const Recording& recording, const View& view, const Ducking& ducking) {
    const std::string required = requirementOf(ducking);
    if (!recording.report.isPresent)
        throw Error("check of ducking: there is no report; it tells where the streams are");
    requireOneTag(recording, ducking.name);
    const auto hold =
        static_cast<std::size_t>((ducking.holdMs + PERIOD_MS) * view.sound.rate / 1000);
    const DuckingMeter meter(recording, ducking);
    Outcome outcome{false, '"' + ducking.prompt + "\" is not heard", required, {}};
    for (const Interval& prompt : joined(intervalsOf(recording, ducking.prompt), hold)) {
        if (prompt.begin < view.begin || prompt.begin >= view.end) continue;
        const Measured measured = meter.measure(prompt);
        outcome = {!measured.fault, measuredOf(measured), required, {}};
        if (!measured.fault) continue;
        outcome.at = view.seconds(*measured.fault);
        return outcome;
    }
    return outcome;
}

}  // namespace

void parseDucked(Phrase& phrase, Check& check) {
    Ducking ducking;
    ducking.name = phrase.next("the name of a stream");
    phrase.expect("by");
    ducking.depth = -std::abs(phrase.nextNumber("a gain", Unit::Decibel));
    phrase.expect("during");
    ducking.prompt = phrase.next("the name of another stream");
    ducking.tolerance = phrase.tolerance(TOLERANCE_DB, Unit::Decibel);
    ducking.rampMs = phrase.option("ramp", RAMP_MS, Unit::Ms);
    ducking.holdMs = phrase.option("hold", HOLD_MS, Unit::Ms);
    if (ducking.rampMs < 0 || ducking.holdMs < 0) phrase.fail("times must not be negative");
    check.make = [=](const Recording& recording, const View& view) {
        return checkDucked(recording, view, ducking);
    };
}

}  // namespace cabinaudio::hear
