// SPDX-License-Identifier: Apache-2.0
// Checks against files: same, like and equal-runs.
#include "devkit/hear/Alignment.h"
#include "devkit/hear/Difference.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Numbers.h"
#include "devkit/server/sound/ChannelMatrix.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::hear {
namespace {

constexpr double LIKE_DB = 40;

Outcome checkSame(const View& heard, const std::string& path, bool isCut) {
    const Sound file = readSound(path);
    View expected = referenceTo(heard, file, path);
    if (isCut) expected.end = std::min(expected.end, heard.frames());
    const std::string required = "the samples of " + path;
    if (const std::string fault = formFault(heard, expected); !fault.empty())
        return {false, fault, required, {}};
    const auto frame = firstDifference(heard, expected);
    if (!frame) return {true, std::to_string(heard.frames()) + " equal frames", required, {}};
    const std::size_t place = heard.begin + *frame;
    return {false,
            "differs from frame " + std::to_string(place) + " on (" +
                std::to_string(expected.frames()) + " frames expected, " +
                std::to_string(heard.frames()) + " heard)",
            required, heard.seconds(place)};
}

Outcome checkEqualRuns(const View& heard, const std::vector<std::string>& paths) {
    const std::string required = "equal samples in " + std::to_string(paths.size() + 1) + " runs";
    for (const std::string& path : paths) {
        const Outcome outcome = checkSame(heard, path, false);
        if (!outcome.isMet) return {false, path + ": " + outcome.measured, required, outcome.at};
    }
    return {true, std::to_string(heard.frames()) + " equal frames", required, {}};
}

/// What `like` compares with. Without a value, any shift or gain.
struct Likeness {
    std::string path;
    double above = LIKE_DB;
    std::optional<double> shiftMs = 0;
    double shiftTolerance = 0;  // ms
    std::optional<double> gainDb = 0;
};

/// As the server would play it.
Sound asHeard(Sound sound, const View& heard) {
    if (sound.rate != heard.sound.rate) sound = atRate(sound, heard.sound.rate);
    if (heard.channel || sound.channels == heard.sound.channels) return sound;
    Sound mapped{sound.rate, heard.sound.channels, {}};
    mapped.samples.resize(sound.frames() * mapped.channels);
    server::ChannelMatrix(sound.channels, mapped.channels)
        .add(sound.samples.data(), sound.frames(), mapped.samples.data());
    return mapped;
}

class Comparison {
public:
    Comparison(const View& heard, const Likeness& likeness, bool isCut)
        : mHeard(heard),
          mLikeness(likeness),
          mFile(asHeard(readSound(likeness.path), heard)),
          mExpected(referenceTo(heard, mFile, likeness.path)),
          mIsCut(isCut) {}

    [[nodiscard]] Outcome outcome() const {
        requirePossibleShift();
        const double tolerance = std::round(mLikeness.shiftTolerance * mHeard.sound.rate / 1000);
        std::ptrdiff_t offset = frames(mLikeness.shiftMs.value_or(0));
        double level = levelAt(offset);
        bool isPlaced = true;
        if (level < mLikeness.above) {
            const std::ptrdiff_t found = align(mHeard, mFile).offset;
            const double other = levelAt(found);
            if (other > level) {
                isPlaced = !mLikeness.shiftMs ||
                           static_cast<double>(std::abs(found - offset)) <= tolerance;
                offset = found;
                level = other;
            }
        }
        const double ms = 1000.0 * static_cast<double>(offset) / mHeard.sound.rate;
        std::string measured =
            differenceText(level) + " at a shift of " + numberText(ms, 3) + " ms";
        if (!mLikeness.gainDb)
            measured += ", gain " + numberText(decibels(std::abs(gainAt(offset))), 2) + " dB";
        return {isPlaced && level >= mLikeness.above, measured, required(), {}};
    }

private:
    [[nodiscard]] std::ptrdiff_t frames(double ms) const {
        return static_cast<std::ptrdiff_t>(std::llround(ms * mHeard.sound.rate / 1000));
    }

    /// With a larger shift nothing could be compared but silence, for as long as the shift is.
    void requirePossibleShift() const {
        const double most =
            static_cast<double>(mHeard.frames() + mExpected.frames()) / mHeard.sound.rate;
        if (std::abs(mLikeness.shiftMs.value_or(0)) <= 1000 * most) return;
        throw Error("like " + mLikeness.path + ": a shift of " + numberText(*mLikeness.shiftMs, 3) +
                    " ms is longer than the sound and the file together, " + secondsText(most));
    }

    /// The part of the file that falls into a range at this offset.
    [[nodiscard]] View partAt(std::ptrdiff_t& offset) const {
        View part = mExpected;
        if (!mIsCut) return part;
        const auto length = static_cast<std::ptrdiff_t>(part.end);
        const auto room = static_cast<std::ptrdiff_t>(mHeard.frames());
        part.begin = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(-offset, 0, length));
        part.end = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(
            room - offset, static_cast<std::ptrdiff_t>(part.begin), length));
        offset = std::max<std::ptrdiff_t>(offset, 0);
        return part;
    }

    [[nodiscard]] double gainAt(std::ptrdiff_t offset) const {
        const View part = partAt(offset);
        return mLikeness.gainDb ? amplitudeOf(*mLikeness.gainDb) : bestGain(mHeard, part, offset);
    }

    [[nodiscard]] double levelAt(std::ptrdiff_t offset) const {
        const double gain = gainAt(offset);
        const View part = partAt(offset);
        return signalToDifference(mHeard, part, offset, gain);
    }

    [[nodiscard]] std::string required() const {
        std::string text = numberText(mLikeness.above, 1) + " dB";
        if (mLikeness.shiftMs) {
            text += " at " + numberText(*mLikeness.shiftMs, 3) + " ms";
            if (mLikeness.shiftTolerance > 0)
                text += " +-" + numberText(mLikeness.shiftTolerance, 3) + " ms";
        }
        return text;
    }

    const View& mHeard;
    const Likeness& mLikeness;
    const Sound mFile;
    const View mExpected;
    const bool mIsCut;
};

/// `NAME=NUMBER` or `NAME=any`
std::optional<double> numberOrAny(Phrase& phrase, const char* name, Unit unit) {
    if (phrase.takeWord(std::string(name) + "=any")) return {};
    return phrase.option(name, 0, unit);
}

}  // namespace

void parseSame(Phrase& phrase, Check& check) {
    const std::string path = phrase.next("a file");
    const bool isCut = check.range.to.has_value();
    check.make = [=](const Recording&, const View& view) { return checkSame(view, path, isCut); };
}

void parseLike(Phrase& phrase, Check& check) {
    Likeness likeness;
    likeness.path = phrase.next("a file");
    likeness.above = phrase.option("by", LIKE_DB, Unit::Decibel);
    likeness.shiftMs = numberOrAny(phrase, "shift", Unit::Ms);
    likeness.gainDb = numberOrAny(phrase, "gain", Unit::Decibel);
    likeness.shiftTolerance = phrase.tolerance(0, Unit::Ms);
    const bool isCut = !check.range.isWhole();
    check.make = [=](const Recording&, const View& view) {
        return Comparison(view, likeness, isCut).outcome();
    };
}

void parseEqualRuns(Phrase& phrase, Check& check) {
    std::vector<std::string> paths{phrase.next("a file")};
    while (phrase.hasMore())
        paths.push_back(phrase.next("a file"));
    check.make = [=](const Recording&, const View& view) { return checkEqualRuns(view, paths); };
}

}  // namespace cabinaudio::hear
