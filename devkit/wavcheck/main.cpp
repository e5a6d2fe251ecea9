// SPDX-License-Identifier: Apache-2.0
// Compares the development server's output with the files that were played. Exit status: 0 when all
// checks pass, 5 when one fails, 1 when they cannot be made, 2 for wrong usage.
#include "devkit/text/Printable.h"
#include "devkit/wavcheck/Compare.h"
#include "devkit/wavcheck/Envelope.h"
#include "devkit/wavcheck/Mix.h"
#include "devkit/wavcheck/Report.h"
#include "devkit/wavcheck/Sound.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace cabinaudio::wavcheck {
namespace {

constexpr int EXIT_USAGE = 2;
constexpr int EXIT_NOT_MET = 5;
constexpr std::size_t PICTURE_COLUMNS = 1200;

struct Options {
    std::string reportFile;
    std::string heardFile;
    std::string envelopeFile;
    std::vector<std::string> played;  // NAME=FILE
};

class Checks {
public:
    explicit Checks(const Options& options)
        : mReport(readReport(options.reportFile)), mHeard(readSound(options.heardFile)) {}

    /// Compares one stream's stem with its file, and finds its place in the output.
    void checkStream(const std::string& name, const std::string& file) {
        const StreamReport& stream = mReport.stream(name);
        const Sound original = readSound(file);
        const Sound stem = readSound(stream.stem);
        const Verdict verdict = compare(original, stem, original.bits != 0);
        std::string line = stream.tag + ", " + seconds(stem) + ": arrived, " + verdict.text;
        if (stream.finishes != 0) line += "; end announced";
        if (stream.underruns != 0) line += "; underruns: " + std::to_string(stream.underruns);
        report(name, {verdict.isMet, line});
        mIsExact = mIsExact && isPlacedExactly(stem, mHeard);
        mPlaced.push_back(placed(stream, stem, mHeard, mHeard.frames()));
    }

    /// Compares the output with the sum of the checked streams.
    void checkMix() {
        if (mReport.streams.size() != mPlaced.size()) {
            report("mix", {false, "other streams than these were played"});
        } else if (mReport.frames != mHeard.frames()) {
            report("mix",
                   {false, "the report speaks of " + std::to_string(mReport.frames) +
                               " frames, the file holds " + std::to_string(mHeard.frames())});
        } else {
            const Verdict verdict = compare(sumOf(mPlaced, mHeard), mHeard, mIsExact);
            const std::string late =
                mReport.latePeriods == 0
                    ? ""
                    : "; the server was late " + std::to_string(mReport.latePeriods) + " times";
            report("mix", {verdict.isMet,
                           seconds(mHeard) + ": the sum of the streams, " + verdict.text + late});
        }
    }

    /// Writes each stream at its place, then the output.
    void writeEnvelopes(const std::string& path) const {
        std::ofstream file(path);
        for (const Sound& sound : mPlaced)
            writeEnvelope(file, sound, PICTURE_COLUMNS);
        writeEnvelope(file, mHeard, PICTURE_COLUMNS);
        file.close();
        if (!file) throw std::runtime_error(path + " cannot be written");
    }

    [[nodiscard]] bool allMet() const { return mAllMet; }

private:
    static std::string seconds(const Sound& sound) {
        char text[32];
        std::snprintf(text, sizeof text, "%.3f s",
                      static_cast<double>(sound.frames()) / sound.rate);
        return text;
    }

    void report(const std::string& what, const Verdict& verdict) {
        std::cout << (verdict.isMet ? "ok      " : "NOT MET ") << text::printable(what) << ": "
                  << text::printable(verdict.text) << '\n';
        mAllMet = mAllMet && verdict.isMet;
    }

    Report mReport;
    Sound mHeard;
    std::vector<Sound> mPlaced;
    bool mIsExact = true;
    bool mAllMet = true;
};

int check(const Options& options) {
    Checks checks(options);
    for (const std::string& played : options.played) {
        const std::size_t sign = played.find('=');
        checks.checkStream(played.substr(0, sign), played.substr(sign + 1));
    }
    checks.checkMix();
    if (!options.envelopeFile.empty()) checks.writeEnvelopes(options.envelopeFile);
    return checks.allMet() ? 0 : EXIT_NOT_MET;
}

std::string checkPlayed(const std::string& text) {
    return text.find('=') != std::string::npos ? "" : "not NAME=FILE: " + text;
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app("Compares what cabinaudio-server has heard with what was played.",
                 "cabinaudio-wavcheck");
    app.add_option("--report", options.reportFile, "What --report of the server has written")
        ->required();
    app.add_option("--heard", options.heardFile, "What --output wav:FILE has written")->required();
    app.add_option("--envelopes", options.envelopeFile, "Write data for a picture");
    app.add_option("played", options.played, "Name of a stream and the file that it played")
        ->required()
        ->type_name("NAME=FILE")
        ->check(checkPlayed);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : EXIT_USAGE;
    }
    return check(options);
}

}  // namespace
}  // namespace cabinaudio::wavcheck

int main(int argc, char** argv) {
    try {
        return cabinaudio::wavcheck::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "cabinaudio-wavcheck: " << cabinaudio::text::printable(error.what()) << '\n';
        return 1;
    }
}
