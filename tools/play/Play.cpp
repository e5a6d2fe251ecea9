// SPDX-License-Identifier: Apache-2.0
#include "tools/play/Play.h"

#include "tools/Failure.h"
#include "tools/Terminal.h"
#include "tools/play/AudioFile.h"
#include "tools/play/PlayReport.h"
#include "tools/play/Playback.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <optional>

namespace cabinaudio::tool {

using namespace std::chrono_literals;

namespace {

/// Reports a file that was found bad before any stream was created.
ExitCode reportBadFile(PlayReport report, const Failure& failure, const CommonOptions& common) {
    report.ending = {StreamEnd::Failed, failure.what()};
    printReport(report, common.json);
    return failure.code();
}

/// The name is also used for the stream's shared memory, so it must be unique.
std::string streamName(const PlayOptions& options, std::size_t index) {
    std::string name =
        options.name.empty() ? "cabinaudio-play-" + std::to_string(getpid()) : options.name;
    return index == 0 ? name : name + "-" + std::to_string(index + 1);
}

PlayReport blankReport(const PlayOptions& options, std::size_t index) {
    PlayReport report;
    report.file = options.files[index] == "-" ? "standard input" : options.files[index];
    report.name = streamName(options, index);
    report.tag = options.tag;
    report.block = options.block;
    return report;
}

void describe(const AudioFile& file, PlayReport& report) {
    report.format = file.format();
    report.channels = file.channels();
    if (const auto frames = file.frames())
        report.durationMs = 1000.0 * static_cast<double>(*frames) / file.format().sampleRate;
}

/// Other files, such as pipes, can be read only once.
bool isRegular(const std::string& path) {
    struct stat found = {};
    return stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

/// Checks all files first, so that nothing is played when a later file is bad.
std::optional<ExitCode> checkFiles(const PlayOptions& options, const CommonOptions& common) {
    for (std::size_t index = 0; index < options.files.size(); ++index) {
        const bool exists = access(options.files[index].c_str(), F_OK) == 0;
        if (options.files[index] == "-" || (exists && !isRegular(options.files[index]))) continue;
        try {
            const AudioFile file(options.files[index], options.raw);
        } catch (const Failure& failure) {
            return reportBadFile(blankReport(options, index), failure, common);
        }
    }
    return std::nullopt;
}

class PlaySession {
public:
    PlaySession(const PlayOptions& options, const CommonOptions& common)
        : mOptions(options),
          mCommon(common),
          mLine(!common.verbose),
          mWatchdog(mInterruption, [this](const std::string& what) { endOverdue(what); }) {}

    ExitCode play(std::size_t index) {
        mReport = blankReport(mOptions, index);
        std::optional<AudioFile> file;
        try {
            mWatchdog.limit("the file's header", 1h,
                            [&] { file.emplace(mOptions.files[index], mOptions.raw); });
        } catch (const Failure& failure) {
            return reportBadFile(mReport, failure, mCommon);
        }
        describe(*file, mReport);
        Playback(*file, mOptions, mInterruption, mWatchdog, mReport, mLine).run();
        printReport(mReport, mCommon.json);
        return exitCode(mReport.ending.kind);
    }

private:
    /// A request to the server timed out, and the playing thread is stuck in it.
    [[noreturn]] void endOverdue(const std::string& what) {
        const bool hasEndedBadly =
            !mReport.ending.text.empty() && mReport.ending.kind != StreamEnd::Done;
        // Otherwise the previous result stands: only the clean-up hangs.
        if (!hasEndedBadly)
            mReport.ending = StreamControl::overdue(mInterruption, mOptions.timeout, what);
        mLine.clear();
        printReport(mReport, mCommon.json);
        std::fflush(nullptr);
        _exit(static_cast<int>(exitCode(mReport.ending.kind)));
    }

    const PlayOptions& mOptions;
    const CommonOptions& mCommon;
    Interruption mInterruption;
    PlayReport mReport;
    ProgressLine mLine;
    Watchdog mWatchdog;
};

}  // namespace

std::string optionFault(const PlayOptions& options) {
    if (!options.keyShift) return "";
    if (options.tag == AUDIO_TAG_ALTERNATIVE || options.tag == AUDIO_TAG_MAIN)
        return "--key-shift does nothing on " +
               std::string(options.tag == AUDIO_TAG_MAIN ? "a main" : "an alternative") +
               " stream; add --tag auxiliary";
    return "";
}

ExitCode run(const PlayOptions& options, const CommonOptions& common) {
    if (const auto bad = checkFiles(options, common)) return *bad;
    PlaySession session(options, common);
    for (std::size_t index = 0; index < options.files.size(); ++index) {
        const ExitCode code = session.play(index);
        if (code != ExitCode::Done) return code;
    }
    return ExitCode::Done;
}

}  // namespace cabinaudio::tool
