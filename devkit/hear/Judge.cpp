// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Judge.h"

#include "devkit/hear/Channels.h"
#include "devkit/hear/Check.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Numbers.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::hear {
namespace {

/// A mono mix feeds both front loudspeakers.
std::optional<unsigned> channelIn(const Sound& sound, const Check& check,
                                  const std::optional<unsigned>& otherwise) {
    std::optional<unsigned> channel = check.channel ? check.channel : otherwise;
    if (channel && sound.channels == 1 && *channel == 1) channel = 0;
    if (channel && *channel >= sound.channels)
        throw Error("check \"" + check.text + "\": the sound has " +
                    std::to_string(sound.channels) + " channels, no " + channelName(*channel));
    return channel;
}

std::size_t frameOf(const Place& place, unsigned rate) {
    return place.isFrame ? static_cast<std::size_t>(place.value) : frameAt(place.value, rate);
}

struct Frames {
    std::size_t begin;
    std::size_t end;
};

/// May be beyond the end of the sound.
Frames framesOf(const Check& check, const Sound& sound) {
    Frames frames{0, sound.frames()};
    if (check.range.from) frames.begin = frameOf(*check.range.from, sound.rate);
    if (check.range.to) frames.end = frameOf(*check.range.to, sound.rate);
    const bool isOpen = !check.range.to && frames.begin >= sound.frames();
    if (check.range.isWhole() || isOpen) return {frames.begin, std::max(frames.begin, frames.end)};
    if (frames.begin >= frames.end)
        throw Error("check \"" + check.text + "\": the range holds no frame at " +
                    std::to_string(sound.rate) + " Hz");
    return frames;
}

/// Why the samples of this range cannot be judged; empty if they can.
std::optional<Outcome> faultOf(const Check& check, const Sound& sound, const Frames& frames) {
    const double end = static_cast<double>(sound.frames()) / sound.rate;
    if (check.endsWithTheSound && (frames.end > sound.frames() || frames.begin >= frames.end))
        return Outcome{false, "the sound ends at " + secondsText(end), "sound in the range", end};
    if (!check.readsSamples) return {};
    const auto begin = sound.samples.begin();
    const auto place = [&](std::size_t frame) {
        return begin +
               static_cast<std::ptrdiff_t>(std::min(frame, sound.frames()) * sound.channels);
    };
    const auto odd = std::find_if(place(frames.begin), place(frames.end),
                                  [](float sample) { return !std::isfinite(sample); });
    if (odd == place(frames.end)) return {};
    const auto frame = static_cast<std::size_t>(odd - begin) / sound.channels;
    return Outcome{false, "a sample that is no finite number", "finite samples",
                   static_cast<double>(frame) / sound.rate};
}

std::string lineOf(const Verdict& verdict) {
    std::string line = verdict.check + ": " + verdict.measured;
    if (!verdict.required.empty()) line += " (required: " + verdict.required + ")";
    line += ", " + secondsText(verdict.from) + " to " + secondsText(verdict.to);
    if (verdict.at && !verdict.isMet) line += ", at " + secondsText(*verdict.at);
    return line;
}

Verdict verdictOf(const Check& check, const Recording& recording, const JudgeOptions& options) {
    const Sound& sound = recording.heard;
    if (sound.rate == 0 || sound.channels == 0) throw Error("there is no sound to check");
    const std::optional<unsigned> channel = channelIn(sound, check, options.channel);
    const Frames frames = framesOf(check, sound);
    const View view{sound, std::min(frames.begin, sound.frames()),
                    std::min(frames.end, sound.frames()), channel};
    std::optional<Outcome> outcome = faultOf(check, sound, frames);
    if (!outcome) outcome = check.make(recording, view);
    Verdict verdict;
    verdict.check = check.text;
    verdict.isMet = outcome->isMet;
    verdict.from = view.seconds(frames.begin);
    verdict.to = view.seconds(frames.end);
    verdict.measured = outcome->measured;
    verdict.required = outcome->required;
    verdict.at = outcome->at;
    verdict.text = lineOf(verdict);
    return verdict;
}

}  // namespace

std::vector<Verdict> judge(const Recording& recording, const std::vector<std::string>& checks,
                           const JudgeOptions& options) {
    std::vector<Check> understood;
    understood.reserve(checks.size());
    for (const std::string& text : checks)
        understood.push_back(checkOf(text));
    std::vector<Verdict> verdicts;
    verdicts.reserve(understood.size());
    for (const Check& check : understood)
        verdicts.push_back(verdictOf(check, recording, options));
    return verdicts;
}

std::optional<double> neededSeconds(const std::string& check, unsigned rate) {
    const Check understood = checkOf(check);
    if (understood.range.to) return understood.range.to->seconds(rate);
    return understood.seconds;
}

}  // namespace cabinaudio::hear
