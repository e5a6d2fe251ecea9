// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Result.h>

#include "testing/src/Report.h"
#include "testing/src/Text.h"

#include <filesystem>
#include <utility>

namespace cabinaudio::testing {

Result::Result(std::shared_ptr<TestDirectory> directory, std::string directoryPath, int exitStatus,
               int signal, bool isCrash)
    : mDirectory(std::move(directory)),
      mPath(std::move(directoryPath)),
      mExitStatus(exitStatus),
      mSignal(signal),
      mIsCrash(isCrash) {}

Heard Result::heard() const {
    if (!mHeard) {
        const std::string report = mPath + "/report.json";
        // A server that was killed has written none.
        const bool isReported = std::filesystem::exists(report);
        const std::string stems = mPath + "/stems";
        mHeard.emplace(mPath + "/heard.wav", isReported ? report : "",
                       std::filesystem::exists(stems) ? stems : "");
        mHeard->setPictureDirectory(mPath);
    }
    return *mHeard;
}

Sound Result::stem(const std::string& stream) const {
    return heard().stem(stream);
}

std::string Result::report() const {
    std::string text = contentsOf(mPath + "/report.json");
    if (text.empty()) throw Failure(mPath + "/report.json: the server has written no report");
    return text;
}

std::vector<std::string> Result::errors() const {
    return timeErrorsIn(report());
}

std::vector<Change> Result::changes() const {
    return changesIn(report());
}

std::string Result::log() const {
    return contentsOf(mPath + "/server.log");
}

}  // namespace cabinaudio::testing
