// SPDX-License-Identifier: Apache-2.0
// Checks of amplitudes: level, peak, clipping, silence and gaps.
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Levels.h"
#include "devkit/hear/Numbers.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::hear {
namespace {

constexpr double SILENCE_DB = -90;
constexpr double GAP_DB = -80;
constexpr double GAP_MS = 1;
// Rounding of a decibel value to an amplitude and back.
constexpr double ROUNDING_DB = 1e-4;

Outcome checkLevel(const View& view, double level, double tolerance) {
    const double measured = decibels(rmsOf(view, loudestChannel(view)));
    return {std::abs(measured - level) <= tolerance + ROUNDING_DB,
            levelText(measured),
            numberText(level, 2) + " dBFS +-" + numberText(tolerance, 2) + " dB",
            {}};
}

Outcome checkPeak(const View& view, double limit) {
    const Peak peak = peakOf(view);
    const double db = decibels(peak.amplitude);
    return {db <= limit + ROUNDING_DB, "peak " + levelText(db),
            "not above " + numberText(limit, 2) + " dBFS", view.seconds(peak.frame)};
}

Outcome checkClipping(const View& view) {
    // The largest positive value of linear PCM is one step below 1.
    const unsigned bits = view.sound.bits;
    const float largest =
        bits == 0 ? 1.0F : 1.0F - std::ldexp(1.0F, 1 - static_cast<int>(std::min(bits, 24U)));
    std::size_t clipped = 0;
    std::size_t first = 0;
    for (std::size_t frame = view.begin; frame < view.end; ++frame) {
        for (unsigned channel = view.firstChannel(); channel < view.lastChannel(); ++channel) {
            const float sample = view.at(frame, channel);
            if (sample < largest && sample > -1.0F) continue;
            if (clipped++ == 0) first = frame;
        }
    }
    if (clipped == 0)
        return {
            true, "peak " + levelText(decibels(peakOf(view).amplitude)), "none at the limit", {}};
    return {false, std::to_string(clipped) + " samples at the limit", "none at the limit",
            view.seconds(first)};
}

Outcome checkSilence(const View& view, double below) {
    const Peak peak = peakOf(view);
    const std::string required = "below " + numberText(below, 2) + " dBFS";
    const double limit = amplitudeOf(below);
    if (peak.amplitude < limit)
        return {true, "peak " + levelText(decibels(peak.amplitude)), required, {}};
    return {false, "peak " + levelText(decibels(peak.amplitude)), required,
            view.seconds(firstAtLeast(view, limit))};
}

Outcome checkGaps(const View& view, double longestMs, double below) {
    const auto limit = static_cast<float>(amplitudeOf(below));
    std::size_t longest = 0;
    std::size_t place = view.begin;
    std::size_t run = 0;
    for (std::size_t frame = view.begin; frame < view.end; ++frame) {
        run = isBelow(view, frame, limit) ? run + 1 : 0;
        if (run <= longest) continue;
        longest = run;
        place = frame + 1 - run;
    }
    const double ms = 1000 * view.seconds(longest);
    const std::string required = "none longer than " + numberText(longestMs, 3) + " ms below " +
                                 numberText(below, 2) + " dBFS";
    return {ms <= longestMs + 1e-9, "longest gap " + numberText(ms, 3) + " ms", required,
            view.seconds(place)};
}

}  // namespace

void parseLevel(Phrase& phrase, Check& check) {
    const double level = phrase.nextNumber("a level", Unit::Decibel);
    const double tolerance = phrase.tolerance(LEVEL_TOLERANCE_DB, Unit::Decibel);
    check.make = [=](const Recording&, const View& view) {
        return checkLevel(view, level, tolerance);
    };
}

void parsePeak(Phrase& phrase, Check& check) {
    const double limit = phrase.nextNumber("a level", Unit::Decibel);
    check.make = [=](const Recording&, const View& view) { return checkPeak(view, limit); };
}

void parseClipping(Phrase& /*phrase*/, Check& check) {
    check.make = [](const Recording&, const View& view) { return checkClipping(view); };
}

void parseSilence(Phrase& phrase, Check& check) {
    const double below = phrase.option("below", SILENCE_DB, Unit::Decibel);
    // Nothing is heard behind the end of the sound.
    check.endsWithTheSound = false;
    check.make = [=](const Recording&, const View& view) { return checkSilence(view, below); };
}

void parseGapFree(Phrase& phrase, Check& check) {
    const double longest = phrase.option("max", GAP_MS, Unit::Ms);
    const double below = phrase.option("below", GAP_DB, Unit::Decibel);
    check.make = [=](const Recording&, const View& view) {
        return checkGaps(view, longest, below);
    };
}

}  // namespace cabinaudio::hear
