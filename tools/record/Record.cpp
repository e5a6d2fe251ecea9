// SPDX-License-Identifier: Apache-2.0
#include "tools/record/Record.h"

#include "tools/Failure.h"
#include "tools/Terminal.h"
#include "tools/record/RecordReport.h"
#include "tools/record/Recording.h"
#include "tools/record/TargetHolder.h"

#include <unistd.h>

#include <cstdio>

namespace cabinaudio::tool {

namespace {

RecordReport blankReport(const RecordOptions& options) {
    RecordReport report;
    report.file = options.file == "-" ? "standard output" : options.file;
    // The name is also used for the stream's shared memory, so it must be unique.
    report.name =
        options.name.empty() ? "cabinaudio-record-" + std::to_string(getpid()) : options.name;
    report.tag = options.tag;
    report.format = options.format;
    report.raw = options.raw || options.file == "-";
    if (options.seconds) report.wantedMs = 1000 * *options.seconds;
    return report;
}

class RecordSession {
public:
    RecordSession(const RecordOptions& options, const CommonOptions& common)
        : mOptions(options),
          mCommon(common),
          mReport(blankReport(options)),
          mLine(!common.verbose),
          mWatchdog(mInterruption, [this](const std::string& what) { endOverdue(what); }) {}

    ExitCode record() {
        Recording(mOptions, mInterruption, mWatchdog, mReport, mTarget, mLine).run();
        printReport(mReport, mCommon.json);
        return exitCode(mReport.ending.kind);
    }

private:
    /// A request to the server timed out, and the recording thread is stuck in it.
    [[noreturn]] void endOverdue(const std::string& what) {
        const bool hasEndedBadly =
            !mReport.ending.text.empty() && mReport.ending.kind != StreamEnd::Done;
        // Otherwise the previous result stands: only the clean-up hangs.
        if (!hasEndedBadly)
            mReport.ending = StreamControl::overdue(mInterruption, mOptions.timeout, what);
        mLine.clear();
        try {
            mTarget.close();
        } catch (const Failure& failure) {
            complain(mReport.file + ": " + failure.what());
        }
        printReport(mReport, mCommon.json);
        std::fflush(nullptr);
        _exit(static_cast<int>(exitCode(mReport.ending.kind)));
    }

    const RecordOptions& mOptions;
    const CommonOptions& mCommon;
    Interruption mInterruption;
    RecordReport mReport;
    TargetHolder mTarget;
    ProgressLine mLine;
    Watchdog mWatchdog;
};

}  // namespace

std::string optionFault(const RecordOptions& options, const CommonOptions& common) {
    const bool isCoded = options.format.codec != RecordCodec::Pcm;
    const bool isUplink = options.tag == AUDIO_TAG_UPLINK;
    const std::string codec = std::string("--codec ") + codecName(options.format.codec);
    if (isCoded && !isUplink) return codec + " needs --tag uplink";
    if (isCoded && !options.block) return codec + " does not go with --no-block";
    if (isUplink && options.volume) return "an uplink has no --volume";
    // It makes its noise of 16-bit or 32-bit numbers; as 8-bit or 24-bit samples they are loud.
    const AudioBitDepthType depth = options.format.depth;
    if (isUplink && !isCoded && depth != AUDIO_BIT_DEPTH_16 && depth != AUDIO_BIT_DEPTH_32)
        return "the library's silence of an uplink is loud in this format; use --format s16 or s32";
    if (common.json && options.file == "-") return "--json and the recording both want stdout";
    if (std::string fault = formatFault(options.format); !fault.empty()) return fault;
    return targetFault(options.file, options.format, options.raw);
}

ExitCode run(const RecordOptions& options, const CommonOptions& common) {
    return RecordSession(options, common).record();
}

}  // namespace cabinaudio::tool
