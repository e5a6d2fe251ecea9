// SPDX-License-Identifier: Apache-2.0
#include "tools/check/CheckCommand.h"

#include "devkit/hear/Error.h"
#include "devkit/hear/Judge.h"
#include "devkit/hear/Picture.h"
#include "devkit/hear/Recording.h"
#include "tools/Failure.h"
#include "tools/Terminal.h"
#include "tools/check/CheckReport.h"
#include "tools/check/CheckTexts.h"
#include "tools/check/LiveSound.h"

#include <filesystem>

namespace cabinaudio::tool {

namespace {

std::string fileName(const CheckOptions& options) {
    return options.isLive ? "live" : options.words.front();
}

hear::Recording recordingOf(const CheckOptions& options, const std::vector<std::string>& checks) {
    if (!options.isLive)
        return hear::readRecording(options.words.front(), options.reportFile,
                                   options.stemDirectory);
    hear::Recording recording;
    recording.heard = listenTo(options, checks);
    return recording;
}

CheckReport reportOf(const CheckOptions& options, const hear::Recording& recording,
                     const std::vector<std::string>& checks) {
    hear::JudgeOptions judging;
    if (options.channel) judging.channel = static_cast<unsigned>(*options.channel);
    CheckReport report;
    report.file = fileName(options);
    report.rate = recording.heard.rate;
    report.channels = recording.heard.channels;
    report.frames = recording.heard.frames();
    report.verdicts = hear::judge(recording, checks, judging);
    return report;
}

/// The picture, if there is to be one. @return why there is none; empty: all is well
std::string draw(const CheckOptions& options, const hear::Recording& recording,
                 CheckReport& report) {
    if (options.pictureFile.empty()) return "";
    try {
        hear::drawPicture(options.pictureFile, recording, report.verdicts);
        report.picture = std::filesystem::absolute(options.pictureFile).string();
        return "";
    } catch (const hear::Error& error) {
        return error.what();
    }
}

struct Checked {
    CheckReport report;
    std::string pictureFault;
};

Checked checked(const CheckOptions& options, const std::vector<std::string>& checks) {
    try {
        const hear::Recording recording = recordingOf(options, checks);
        Checked checked = {reportOf(options, recording, checks), ""};
        checked.pictureFault = draw(options, recording, checked.report);
        return checked;
    } catch (const hear::Error& error) {
        throw Failure(error.what());
    }
}

/// In the JUnit file, if there is to be one. The error of the checks is more important than a file
/// that cannot be written.
void noteError(const CheckOptions& options, const std::vector<std::string>& checks,
               const std::string& error) {
    if (options.junitFile.empty()) return;
    try {
        writeJUnitError(options.junitFile, fileName(options), checks, error);
    } catch (const Failure& failure) {
        complain(failure.what());
    }
}

}  // namespace

ExitCode run(const CheckOptions& options, const CommonOptions& common) {
    const std::vector<std::string> checks = checkTexts(options);
    Checked result;
    try {
        result = checked(options, checks);
    } catch (const Failure& failure) {
        noteError(options, checks, failure.what());
        throw;
    }
    // First: where a file cannot be written, the verdicts are not lost.
    printReport(result.report, common.json);
    if (!options.junitFile.empty()) writeJUnit(options.junitFile, result.report);
    if (!result.pictureFault.empty()) throw Failure(result.pictureFault);
    return result.report.code();
}

}  // namespace cabinaudio::tool
