// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Channels.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Levels.h"
#include "devkit/hear/Numbers.h"
#include "devkit/hear/Spectrum.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::hear {
namespace {

constexpr double TOLERANCE_HZ = 1;
constexpr double TOLERANCE_RATIO = 0.005;
constexpr double ABOVE_REST_DB = 20;
// With fewer, the lines of positive and negative frequencies overlap.
constexpr double FEWEST_PERIODS = 5;

struct Tone {
    double hz;
    double tolerance;
    std::optional<double> level;
    double levelTolerance;
    double aboveRest;
};

std::string requirementOf(const Tone& tone) {
    std::string text = numberText(tone.hz, 2) + " Hz +-" + numberText(tone.tolerance, 2) + " Hz";
    if (tone.level)
        text += ", " + numberText(*tone.level, 2) + " dBFS +-" +
                numberText(tone.levelTolerance, 2) + " dB";
    return text + ", " + numberText(tone.aboveRest, 2) + " dB above the rest";
}

Outcome checkTone(const View& view, const Tone& tone) {
    const std::string required = requirementOf(tone);
    if (tone.hz >= view.sound.rate / 2.0)
        throw Error("tone " + numberText(tone.hz, 2) + ": a sound at " +
                    std::to_string(view.sound.rate) + " Hz has no such frequency");
    const double periods = tone.hz * view.seconds(view.frames());
    if (periods < FEWEST_PERIODS)
        return {false,
                "only " + numberText(periods, 2) + " periods of it in the range",
                required + ", at least " + numberText(FEWEST_PERIODS, 0) + " periods",
                {}};
    const unsigned channel = loudestChannel(view);
    const Line line = strongestLine(spectrumOf(view, channel));
    if (line.rms <= 0) return {false, "silence", required, {}};
    const double level = decibels(line.rms);
    const double above = level - decibels(line.restRms);
    std::string measured = numberText(line.hz, 2) + " Hz at " + levelText(level);
    if (view.sound.channels > 1) measured += " on " + channelName(channel);
    measured += std::isinf(above) ? std::string(", nothing else")
                                  : ", " + numberText(above, 1) + " dB above the rest";
    const bool isLoud = !tone.level || std::abs(level - *tone.level) <= tone.levelTolerance;
    return {std::abs(line.hz - tone.hz) <= tone.tolerance && isLoud && above >= tone.aboveRest,
            measured,
            required,
            {}};
}

}  // namespace

void parseTone(Phrase& phrase, Check& check) {
    Tone tone{};
    tone.hz = phrase.nextNumber("a frequency", Unit::Hertz);
    if (tone.hz <= 0) phrase.fail("the frequency must be above 0 Hz");
    tone.tolerance =
        phrase.tolerance(std::max(TOLERANCE_HZ, tone.hz * TOLERANCE_RATIO), Unit::Hertz);
    tone.level = phrase.optional("level", Unit::Decibel);
    tone.levelTolerance = phrase.option("level-tol", LEVEL_TOLERANCE_DB, Unit::Decibel);
    tone.aboveRest = phrase.option("by", ABOVE_REST_DB, Unit::Decibel);
    check.make = [tone](const Recording&, const View& view) { return checkTone(view, tone); };
}

}  // namespace cabinaudio::hear
