// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Matchers.h>

#include "testing/src/Text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <filesystem>

namespace cabinaudio::testing {
namespace {

/// Names of files and streams as words of a check.
std::string quoted(const std::string& text) {
    const bool isPlain = text.find_first_of(" \t'\"") == std::string::npos && !text.empty();
    if (isPlain) return text;
    return text.find('\'') == std::string::npos ? "'" + text + "'" : "\"" + text + "\"";
}

/// Draws the check into the next free file. @return its path, or why there is none
std::string drawnAt(const Heard& heard, const std::string& check) {
    std::string path = heard.pictureDirectory() + "/heard.png";
    for (int number = 2; std::filesystem::exists(path); ++number)
        path = heard.pictureDirectory() + "/heard-" + std::to_string(number) + ".png";
    try {
        heard.drawPicture(path, {check});
    } catch (const Failure& failure) {
        return std::string("none: ") + failure.what();
    }
    return path;
}

bool isKept(const std::string& directory) {
    const std::string base = environmentValue("CABINAUDIO_TEST_OUTPUT");
    if (base.empty() || directory.empty()) return false;
    const std::string kept = std::filesystem::absolute(base).string() + "/";
    return std::filesystem::absolute(directory).string().rfind(kept, 0) == 0;
}

/// Where a person finds what was heard. Files that the test removes are not mentioned.
void explainPlace(const Heard& heard, const std::string& check, std::ostream* out) {
    const bool isOwn = heard.pictureDirectory().empty();
    if (isOwn) {
        if (!heard.path().empty()) *out << ", heard in " << heard.path();
        return;
    }
    if (!isKept(heard.pictureDirectory())) {
        *out << ", heard in a directory that is not kept: set CABINAUDIO_TEST_OUTPUT";
        return;
    }
    const std::string picture = drawnAt(heard, check);
    *out << ", heard in " << heard.path() << ", picture " << picture;
    ::testing::Test::RecordProperty("heard", heard.path());
    ::testing::Test::RecordProperty("picture", picture);
}

std::string seconds(double time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", time);
    return text;
}

void explain(const Judgement& judgement, std::ostream* out) {
    *out << "which has " << judgement.measured << " instead of " << judgement.required;
    if (judgement.at >= 0)
        *out << " at " << seconds(judgement.at);
    else
        *out << " from " << seconds(judgement.from) << " to " << seconds(judgement.to);
}

}  // namespace

HeardMatcher HeardMatcher::between(double from, double to) const {
    HeardMatcher narrowed = *this;
    narrowed.mRange = " [" + shortNumber(from) + ".." + shortNumber(to) + "]";
    return narrowed;
}

HeardMatcher HeardMatcher::on(const std::string& loudspeaker) const {
    HeardMatcher narrowed = *this;
    narrowed.mLoudspeaker = " on " + loudspeaker;
    return narrowed;
}

HeardMatcher HeardMatcher::within(const std::string& tolerance) const {
    HeardMatcher changed = *this;
    changed.mTolerance = " +-" + tolerance;
    return changed;
}

std::string HeardMatcher::check() const {
    return mCheck + mTolerance + mLoudspeaker + mRange;
}

bool HeardMatcher::MatchAndExplain(const Heard& heard, std::ostream* out) const {
    try {
        const Judgement judgement = heard.judge({check()}).at(0);
        // Inside of other matchers, such as Not() and AllOf(), nobody may read the explanation.
        if (out == nullptr) return judgement.isMet;
        explain(judgement, out);
        if (!judgement.isMet) explainPlace(heard, check(), out);
        return judgement.isMet;
    } catch (const Failure& failure) {
        // Not() must not turn a check that cannot be made into a success.
        ADD_FAILURE() << "check '" << check() << "': " << failure.what();
        return false;
    }
}

void HeardMatcher::DescribeTo(std::ostream* out) const {
    *out << "meets '" << check() << "'";
}

void HeardMatcher::DescribeNegationTo(std::ostream* out) const {
    *out << "does not meet '" << check() << "'";
}

HeardMatcher HasLevel(double db) {
    return HeardMatcher("level " + shortNumber(db));
}

HeardMatcher HasPeakBelow(double db) {
    return HeardMatcher("peak " + shortNumber(db));
}

HeardMatcher IsNotClipped() {
    return HeardMatcher("clip-free");
}

HeardMatcher HasTone(double hz) {
    return HeardMatcher("tone " + shortNumber(hz));
}

HeardMatcher HasTone(double hz, double levelDb) {
    return HeardMatcher("tone " + shortNumber(hz) + " level=" + shortNumber(levelDb));
}

HeardMatcher IsSilent() {
    return HeardMatcher("silence");
}

HeardMatcher HasNoGap() {
    return HeardMatcher("gap-free");
}

HeardMatcher HasNoClick() {
    return HeardMatcher("click-free");
}

HeardMatcher StartsAt(const std::string& stream, std::chrono::milliseconds at) {
    return HeardMatcher("starts " + quoted(stream + "@" + std::to_string(at.count())));
}

HeardMatcher IsSameAs(const std::string& file) {
    return HeardMatcher("same " + quoted(file));
}

HeardMatcher IsLike(const std::string& file) {
    return HeardMatcher("like " + quoted(file));
}

HeardMatcher Lasts(double seconds) {
    return HeardMatcher("lasts " + shortNumber(seconds));
}

HeardMatcher HasOrder(std::initializer_list<std::string> streams) {
    std::string check = "order";
    for (const std::string& stream : streams)
        check.append(" ").append(quoted(stream));
    return HeardMatcher(check);
}

HeardMatcher HasOverlap(const std::string& one, const std::string& other) {
    return HeardMatcher("overlap " + quoted(one) + " " + quoted(other));
}

HeardMatcher Meets(const std::string& check) {
    return HeardMatcher(check);
}

HeardMatcher Ducking::during(const std::string& prompt) const {
    return HeardMatcher("ducked " + quoted(mStream) + " by " + shortNumber(mDb) + "dB during " +
                        quoted(prompt));
}

}  // namespace cabinaudio::testing
