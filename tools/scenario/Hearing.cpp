// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Hearing.h"

#include "devkit/hear/Error.h"
#include "devkit/hear/Judge.h"
#include "devkit/hear/Picture.h"
#include "devkit/hear/Recording.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>

namespace cabinaudio::tool::scenario {

namespace {

std::optional<hear::Recording> recorded(const PartFiles& files, std::string& fault) {
    try {
        // A crashed server has left no report, and stems whose headers may be old.
        if (!std::filesystem::exists(files.report)) return hear::readRecording(files.heard);
        return hear::readRecording(files.heard, files.report, files.stems);
    } catch (const hear::Error& error) {
        fault = error.what();
        return std::nullopt;
    }
}

// Of sound that is drawn: about twenty minutes. All of it is in memory at once.
constexpr std::uintmax_t MOST_BYTES = 512ULL * 1024 * 1024;

/// Of the mix and the stems.
std::uintmax_t bytesOf(const PartFiles& files) {
    std::error_code error;
    std::uintmax_t bytes = 0;
    const auto add = [&](const std::string& file) {
        const std::uintmax_t size = std::filesystem::file_size(file, error);
        bytes += error ? 0 : size;
    };
    add(files.heard);
    for (const auto& stem : std::filesystem::directory_iterator(files.stems, error))
        add(stem.path());
    return bytes;
}

/// The report names the check itself.
std::string withoutCheck(const hear::Verdict& verdict) {
    const std::string begin = verdict.check + ": ";
    return verdict.text.rfind(begin, 0) == 0 ? verdict.text.substr(begin.size()) : verdict.text;
}

}  // namespace

struct Hearing::Inside {
    PartFiles files;
    std::string fault;  // why there is no recording
    std::optional<hear::Recording> recording;
    std::vector<hear::Verdict> verdicts;
    std::map<std::string, std::pair<bool, std::string>> results;

    void judge(const std::string& check) {
        if (!recording) {
            results[check] = {false, fault};
            return;
        }
        try {
            // One by one, so that a check that cannot be made does not hide the others.
            for (hear::Verdict& verdict : hear::judge(*recording, {check})) {
                results[check] = {verdict.isMet, withoutCheck(verdict)};
                verdicts.push_back(std::move(verdict));
            }
        } catch (const hear::Error& error) {
            results[check] = {false, error.what()};
        }
    }
};

Hearing::Hearing(const PartFiles& files, const std::vector<std::string>& checks)
    : mInside(std::make_unique<Inside>()) {
    mInside->files = files;
    if (!checks.empty()) mInside->recording = recorded(files, mInside->fault);
    for (const std::string& check : checks)
        mInside->judge(check);
}

Hearing::~Hearing() = default;
Hearing::Hearing(Hearing&&) noexcept = default;
Hearing& Hearing::operator=(Hearing&&) noexcept = default;

std::pair<bool, std::string> Hearing::verdict(const std::string& check) const {
    return mInside->results.at(check);
}

void Hearing::draw() const {
    if (bytesOf(mInside->files) > MOST_BYTES) return;
    if (!mInside->recording) mInside->recording = recorded(mInside->files, mInside->fault);
    if (!mInside->recording || mInside->recording->heard.frames() == 0) return;
    try {
        hear::drawPicture(mInside->files.picture, *mInside->recording, mInside->verdicts);
    } catch (const hear::Error&) {
        // Among others: this build cannot draw. The sound is there all the same.
    }
}

std::string checkFault(const std::string& check) {
    try {
        (void)hear::neededSeconds(check, 48000);
        return "";
    } catch (const hear::Error& error) {
        return error.what();
    }
}

}  // namespace cabinaudio::tool::scenario
