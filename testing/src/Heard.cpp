// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/Failure.h>
#include <cabinaudio/testing/Heard.h>

#include "devkit/hear/Error.h"
#include "devkit/hear/Judge.h"
#include "devkit/hear/Picture.h"
#include "devkit/hear/Recording.h"

#include <cmath>
#include <cstddef>
#include <ostream>
#include <utility>

namespace cabinaudio::testing {

struct Heard::Data {
    hear::Recording recording;
    Sound sound;
};

namespace {

/// Calls a function of the library and turns its exceptions into the kit's.
template <typename Function>
auto translated(Function function) {
    try {
        return function();
    } catch (const hear::Error& error) {
        throw Failure(error.what());
    }
}

hear::Recording recordingOf(const Sound& sound) {
    hear::Recording recording;
    recording.heard.rate = sound.rate;
    recording.heard.channels = sound.channels;
    recording.heard.samples = sound.samples;
    recording.path = sound.path;
    return recording;
}

Judgement judgementOf(hear::Verdict verdict) {
    Judgement judgement;
    judgement.check = std::move(verdict.check);
    judgement.isMet = verdict.isMet;
    judgement.from = verdict.from;
    judgement.to = verdict.to;
    judgement.at = verdict.at.value_or(-1);
    judgement.measured = std::move(verdict.measured);
    judgement.required = std::move(verdict.required);
    judgement.text = std::move(verdict.text);
    return judgement;
}

/// Collects segments of frames with sound.
class SegmentFinder {
public:
    SegmentFinder(unsigned rate, double longestPause)
        : mRate(rate), mLongestPause(static_cast<std::size_t>(longestPause * rate)) {}

    void add(std::size_t frame, bool isLoud) {
        if (!isLoud) return;
        if (mSegments.empty() || frame - mEnd > mLongestPause)
            mSegments.push_back({static_cast<double>(frame) / mRate, 0});
        mEnd = frame + 1;
        mSegments.back().to = static_cast<double>(mEnd) / mRate;
    }
    [[nodiscard]] std::vector<Segment> found() const { return mSegments; }

private:
    unsigned mRate;
    std::size_t mLongestPause;
    std::size_t mEnd = 0;
    std::vector<Segment> mSegments;
};

}  // namespace

Heard::Heard(Sound sound)
    : mData(std::make_shared<const Data>(Data{recordingOf(sound), std::move(sound)})) {}

Heard::Heard(const std::string& path, const std::string& reportPath,
             const std::string& stemsDirectory) {
    hear::Recording recording =
        translated([&] { return hear::readRecording(path, reportPath, stemsDirectory); });
    Sound sound{recording.heard.rate, recording.heard.channels, recording.heard.samples, path};
    mData = std::make_shared<const Data>(Data{std::move(recording), std::move(sound)});
}

const Sound& Heard::sound() const {
    return mData->sound;
}

std::vector<Segment> Heard::segments(const std::string& stream) const {
    const double rate = sound().rate;
    std::vector<Segment> found;
    for (const hear::StreamReport& one : mData->recording.report.streams) {
        if (one.name != stream) continue;
        for (const hear::Segment& part : one.segments)
            found.push_back({static_cast<double>(part.outputFrame) / rate,
                             static_cast<double>(part.outputFrame + part.frames) / rate});
    }
    return found;
}

std::vector<Segment> Heard::loudspeaker(unsigned number, double silenceDb,
                                        double longestPause) const {
    const Sound one = sound().channel(number);
    const double limit = std::pow(10.0, silenceDb / 20.0);
    SegmentFinder finder(one.rate, longestPause);
    for (std::size_t frame = 0; frame < one.samples.size(); ++frame)
        finder.add(frame, std::fabs(static_cast<double>(one.samples[frame])) > limit);
    return finder.found();
}

Sound Heard::stem(const std::string& stream) const {
    const auto found = mData->recording.stems.find(stream);
    if (found == mData->recording.stems.end())
        throw Failure(path() + ": there is no stem of a stream \"" + stream + "\"");
    const hear::Sound& stem = found->second;
    return {stem.rate, stem.channels, stem.samples, {}};
}

std::vector<std::string> Heard::streams() const {
    std::vector<std::string> names;
    for (const hear::StreamReport& one : mData->recording.report.streams)
        names.push_back(one.name);
    return names;
}

std::vector<Judgement> Heard::judge(const std::vector<std::string>& checks) const {
    std::vector<Judgement> judgements;
    for (hear::Verdict& verdict : translated([&] { return hear::judge(mData->recording, checks); }))
        judgements.push_back(judgementOf(std::move(verdict)));
    return judgements;
}

void Heard::drawPicture(const std::string& path, const std::vector<std::string>& checks) const {
    translated([&] {
        hear::drawPicture(path, mData->recording, hear::judge(mData->recording, checks));
        return 0;
    });
}

void PrintTo(const Heard& heard, std::ostream* out) {
    PrintTo(heard.sound(), out);
}

}  // namespace cabinaudio::testing
