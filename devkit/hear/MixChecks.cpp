// SPDX-License-Identifier: Apache-2.0
// Checks of the way through the server: what arrived of each stream, and whether the mix is the
// sum.
#include "devkit/hear/Difference.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Kinds.h"
#include "devkit/hear/Numbers.h"
#include "devkit/hear/Placed.h"
#include "devkit/hear/Streams.h"

namespace cabinaudio::hear {
namespace {

// Signal to difference of converted sounds. Unconverted ones must be equal sample for sample.
constexpr double CONVERTED_DB = 40;

Outcome compare(const View& heard, const View& expected, bool mustBeExact) {
    const std::string required = mustBeExact
                                     ? std::string("sample for sample")
                                     : numberText(CONVERTED_DB, 1) + " dB above the difference";
    if (const std::string fault = formFault(heard, expected); !fault.empty())
        return {false, fault, required, {}};
    if (!mustBeExact) {
        const double db = signalToDifference(heard, expected, 0, 1);
        return {db >= CONVERTED_DB, differenceText(db), required, {}};
    }
    const auto frame = firstDifference(heard, expected);
    if (!frame) return {true, std::to_string(expected.frames()) + " equal frames", required, {}};
    return {false,
            "differs from frame " + std::to_string(*frame) + " on (" +
                std::to_string(expected.frames()) + " frames expected, " +
                std::to_string(heard.frames()) + " heard)",
            required,
            {}};
}

Outcome checkPlayed(const Recording& recording, const StreamReport& stream, const Sound& original,
                    const std::string& path) {
    const Sound& stem = stemOf(recording, stream);
    const View arrived{stem, 0, stem.frames(), {}};
    Outcome outcome = compare(arrived, referenceTo(arrived, original, path), original.bits != 0);
    outcome.measured = stream.tag + ", " + secondsText(arrived.seconds(stem.frames())) +
                       ": arrived, " + outcome.measured;
    if (stream.finishes != 0) outcome.measured += "; end announced";
    if (stream.underruns != 0)
        outcome.measured += "; underruns: " + std::to_string(stream.underruns);
    return outcome;
}

/// Of several streams with this name, each must have been the file; the first that was not counts.
Outcome checkPlayed(const Recording& recording, const std::string& name, const std::string& path) {
    const std::vector<const StreamReport*> entries = entriesOf(recording, name);
    const Sound original = readSound(path);
    const std::string count = std::to_string(entries.size());
    Outcome first = checkPlayed(recording, *entries.front(), original, path);
    for (std::size_t i = 0; i < entries.size() && entries.size() > 1; ++i) {
        Outcome outcome = checkPlayed(recording, *entries[i], original, path);
        if (outcome.isMet) continue;
        outcome.measured =
            "stream " + std::to_string(i + 1) + " of " + count + ", " + outcome.measured;
        return outcome;
    }
    if (entries.size() > 1) first.measured = count + " streams, the first one: " + first.measured;
    return first;
}

/// The streams at their places.
struct Expected {
    std::vector<Sound> streams;
    bool isExact = true;
};

Expected expectedOf(const Recording& recording) {
    Expected expected;
    for (const StreamReport& stream : recording.report.streams) {
        if (stream.segments.empty()) continue;
        const Sound& stem = stemOf(recording, stream);
        expected.isExact = expected.isExact && isPlacedExactly(stem, recording.heard);
        expected.streams.push_back(placed(stream, stem, recording.heard));
    }
    return expected;
}

Outcome checkMix(const Recording& recording, const View& view) {
    const Report& report = recording.report;
    if (!report.isPresent) throw Error("check \"mix\": there is no report");
    if (report.frames != view.sound.frames())
        return {false,
                "the report tells of " + std::to_string(report.frames) + " frames, the sound has " +
                    std::to_string(view.sound.frames()),
                "equal lengths",
                {}};
    const Expected expected = expectedOf(recording);
    const Sound sum = sumOf(expected.streams, view.sound);
    Outcome outcome =
        compare({view.sound, 0, sum.frames(), {}}, {sum, 0, sum.frames(), {}}, expected.isExact);
    outcome.measured =
        "the sum of " + std::to_string(expected.streams.size()) + " streams, " + outcome.measured;
    if (report.latePeriods != 0)
        outcome.measured +=
            "; the server was late " + std::to_string(report.latePeriods) + " times";
    return outcome;
}

}  // namespace

void parsePlayed(Phrase& phrase, Check& check) {
    const auto [name, path] = phrase.nextPair("NAME=FILE", '=', false);
    const std::string stream = name;
    const std::string file = path;
    check.endsWithTheSound = false;
    check.readsSamples = false;
    check.make = [=](const Recording& recording, const View&) {
        return checkPlayed(recording, stream, file);
    };
}

void parseMix(Phrase& /*phrase*/, Check& check) {
    check.make = [](const Recording& recording, const View& view) {
        return checkMix(recording, view);
    };
}

}  // namespace cabinaudio::hear
