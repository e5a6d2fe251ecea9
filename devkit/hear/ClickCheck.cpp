// SPDX-License-Identifier: Apache-2.0
// Clicks: single steps between two samples that are much larger than all steps around them. Ramps,
// and tones that begin at zero, have no such step.
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Numbers.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

namespace cabinaudio::hear {
namespace {

constexpr double STEP_DB = 12;
constexpr double FLOOR_DB = -60;
// Long enough for a quarter of a period of 25 Hz, so that a slow tone's steepest part is in it.
constexpr double NEIGHBOURHOOD_S = 0.01;
// A click may have a few samples: a wrong sample is two steps.
constexpr std::size_t CLICK_FRAMES = 3;

struct Click {
    double step = 0;
    double around = 0;  // the largest step in the neighbourhood
    std::size_t frame = 0;
};

/// `behind` zeros follow the last step, so that every step has a neighbourhood after it.
std::vector<float> stepsOf(const View& view, unsigned channel, std::size_t behind) {
    std::vector<float> steps(view.sound.frames() + behind);
    for (std::size_t frame = 1; frame < view.sound.frames(); ++frame)
        steps[frame] = std::abs(view.at(frame, channel) - view.at(frame - 1, channel));
    return steps;
}

/// For each frame the largest of the `count` values that end with it.
std::vector<float> largestBefore(const std::vector<float>& values, std::size_t count) {
    std::vector<float> result(values.size());
    std::deque<std::size_t> falling;  // places of candidates, with falling values
    for (std::size_t i = 0; i < values.size(); ++i) {
        while (!falling.empty() && values[falling.back()] <= values[i])
            falling.pop_back();
        falling.push_back(i);
        if (falling.front() + count <= i) falling.pop_front();
        result[i] = values[falling.front()];
    }
    return result;
}

/// The largest step around `frame`, without those of the click itself.
double around(const std::vector<float>& largest, std::size_t frame, std::size_t count) {
    const double before = frame > CLICK_FRAMES ? largest[frame - CLICK_FRAMES - 1] : 0;
    return std::max<double>(before, largest[frame + CLICK_FRAMES + count]);
}

/// The step that stands out most.
Click worstStep(const View& view, unsigned channel, double floor) {
    const auto count =
        std::max<std::size_t>(static_cast<std::size_t>(NEIGHBOURHOOD_S * view.sound.rate), 1);
    const std::vector<float> steps = stepsOf(view, channel, count + CLICK_FRAMES);
    const std::vector<float> largest = largestBefore(steps, count);
    Click worst;
    double highest = 0;
    for (std::size_t frame = view.begin + 1; frame < view.end; ++frame) {
        if (steps[frame] < floor) continue;
        const double others = around(largest, frame, count);
        const double ratio = steps[frame] / std::max(others, 1e-9);
        if (ratio <= highest) continue;
        highest = ratio;
        worst = {steps[frame], others, frame};
    }
    return worst;
}

Outcome checkClicks(const View& view, double stepDb, double floorDb) {
    // A single step of coarse samples is no click.
    const double coarse =
        view.sound.bits == 0 ? 0 : 2.5 * std::ldexp(1.0, 1 - static_cast<int>(view.sound.bits));
    const double floor = std::max(amplitudeOf(floorDb), coarse);
    Click worst;
    double highest = 0;
    for (unsigned channel = view.firstChannel(); channel < view.lastChannel(); ++channel) {
        const Click click = worstStep(view, channel, floor);
        const double ratio = click.step / std::max(click.around, 1e-9);
        if (ratio > highest) worst = click;
        highest = std::max(highest, ratio);
    }
    const std::string required = "no step " + numberText(stepDb, 1) + " dB above those around it";
    if (highest == 0) return {true, "no step above " + levelText(decibels(floor)), required, {}};
    const double above = decibels(highest);
    const std::string measured =
        "a step of " + levelText(decibels(worst.step)) +
        (worst.around > 0 ? ", " + numberText(above, 1) + " dB above those around it"
                          : std::string(" with silence around it"));
    return {above <= stepDb, measured, required, view.seconds(worst.frame)};
}

}  // namespace

void parseClickFree(Phrase& phrase, Check& check) {
    const double step = phrase.option("by", STEP_DB, Unit::Decibel);
    const double floor = phrase.option("below", FLOOR_DB, Unit::Decibel);
    check.make = [=](const Recording&, const View& view) { return checkClicks(view, step, floor); };
}

}  // namespace cabinaudio::hear
