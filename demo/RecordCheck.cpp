// SPDX-License-Identifier: Apache-2.0
// recordcheck INPUT RECORDED CALL-INPUT CALL ENVELOPES: the recording of an input must equal the
// server's looped input file, sample for sample; the recording of a coded call must correlate with
// the call's input file. Writes envelopes for a picture of both recordings. The exit status is 0
// when both checks pass, 5 when one fails, 1 when the files cannot be compared.
#include "demo/Envelope.h"
#include "devkit/hear/Sound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <string>

namespace {

using cabinaudio::hear::Sound;

constexpr int EXIT_USAGE = 2;
constexpr int EXIT_NOT_MET = 5;
constexpr double REQUIRED = 0.9;
constexpr unsigned COMPARED_RATE = 16000;

bool report(bool isMet, const char* what, const std::string& text) {
    std::printf("%s%s: %s\n", isMet ? "ok      " : "NOT MET ", what, text.c_str());
    return isMet;
}

bool checkLoop(const Sound& input, const Sound& recorded) {
    if (input.rate != recorded.rate || input.channels != recorded.channels ||
        input.bits != recorded.bits)
        return report(false, "input", "recorded in another form than the file has");
    for (std::size_t i = 0; i < recorded.samples.size(); ++i)
        if (recorded.samples[i] != input.samples[i % input.samples.size()])
            return report(false, "input", "differs from sample " + std::to_string(i) + " on");
    return report(true, "input",
                  "recorded sample for sample, " + std::to_string(recorded.frames()) + " frames");
}

/// Index of the first sample above a tenth of the peak.
std::size_t onset(const Sound& sound) {
    double peak = 0;
    for (const double sample : sound.samples)
        peak = std::max(peak, std::abs(sample));
    const auto loud = std::find_if(sound.samples.begin(), sound.samples.end(),
                                   [&](double sample) { return std::abs(sample) > peak / 10; });
    return static_cast<std::size_t>(loud - sound.samples.begin());
}

/// Correlation of `heard` from `begin` on with the looped `said` from `shift` on.
double correlation(const Sound& heard, std::size_t begin, const Sound& said, std::size_t shift) {
    double both = 0;
    double ofHeard = 0;
    double ofSaid = 0;
    for (std::size_t i = begin; i < heard.samples.size(); ++i) {
        const double a = heard.samples[i];
        const double b = said.samples[(shift + i - begin) % said.samples.size()];
        both += a * b;
        ofHeard += a * a;
        ofSaid += b * b;
    }
    return both / std::sqrt(std::max(ofHeard * ofSaid, 1e-12));
}

bool checkCall(const Sound& input, const Sound& call) {
    if (input.channels != 1 || call.channels != 1)
        return report(false, "call", "more than one channel");
    const Sound said = atRate(input, COMPARED_RATE);
    const Sound heard = atRate(call, COMPARED_RATE);
    const std::size_t begin = onset(heard);
    const std::size_t middle = onset(said);
    constexpr std::size_t SLACK = COMPARED_RATE / 20;
    double best = 0;
    for (std::size_t shift = middle > SLACK ? middle - SLACK : 0; shift < middle + SLACK; ++shift)
        best = std::max(best, correlation(heard, begin, said, shift));
    char text[120];
    std::snprintf(text, sizeof text,
                  "%.3f s, the voice begins at %.3f s, correlation with what was said %.3f "
                  "(required: %.1f)",
                  static_cast<double>(call.frames()) / call.rate,
                  static_cast<double>(begin) / COMPARED_RATE, best, REQUIRED);
    const bool isLongEnough = heard.frames() > begin + COMPARED_RATE;
    return report(best > REQUIRED && isLongEnough, "call", text);
}

int check(char** files) {
    using cabinaudio::hear::readSound;
    const Sound recorded = readSound(files[2]);
    const Sound call = readSound(files[4]);
    const bool isRecorded = checkLoop(readSound(files[1]), recorded);
    const bool isHeard = checkCall(readSound(files[3]), call);
    cabinaudio::demo::writeEnvelopes(files[5], {&recorded, &call});
    return isRecorded && isHeard ? 0 : EXIT_NOT_MET;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr,
                     "usage: cabinaudio-recordcheck INPUT RECORDED CALL-INPUT CALL ENVELOPES\n");
        return EXIT_USAGE;
    }
    try {
        return check(argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-recordcheck: %s\n", error.what());
        return 1;
    }
}
