// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/DuckedTimes.h"

#include <algorithm>
#include <cstdint>

namespace cabinaudio::hear {
namespace {

bool meet(const Interval& a, const Interval& b) {
    return a.begin < b.end && b.begin < a.end;
}

/// From the changes of a report. An entry without a stream ends what prompts have begun: the
/// factor that is left was asked for, and is part of the usual gain.
std::vector<Interval> reported(const Report& report, std::size_t ramp) {
    std::vector<Interval> result;
    bool isDucked = false;
    for (const Change& change : report.changes) {
        if (change.what != "ducking") continue;
        const bool isNow = !change.by.empty() && !(change.db && *change.db >= 0);
        if (isNow && !isDucked) result.push_back({change.frame, SIZE_MAX});
        if (!isNow && isDucked) result.back().end = change.frame + ramp;
        isDucked = isNow;
    }
    return result;
}

}  // namespace

DuckedTimes::DuckedTimes(const Recording& recording, const Names& names, const Delays& delays)
    : mPrompt(names.prompt) {
    const bool areChangesKnown = !recording.report.changes.empty();
    std::vector<Interval> ducked;
    for (const StreamReport& stream : recording.report.streams) {
        if (stream.name == names.ducked || stream.tag == "main") continue;
        const bool isPrompt = stream.tag == "alternative" || stream.name == names.prompt;
        for (const Segment& segment : stream.segments) {
            const Interval interval{segment.outputFrame, segment.outputFrame + segment.frames +
                                                             delays.release + delays.ramp};
            mPossible.push_back({stream.name, interval});
            if (isPrompt) ducked.push_back(interval);
        }
    }
    mDucked = merged(areChangesKnown ? reported(recording.report, delays.ramp) : ducked);
}

bool DuckedTimes::isDucked(const Interval& interval) const {
    return std::any_of(mDucked.begin(), mDucked.end(),
                       [&](const Interval& ducked) { return meet(ducked, interval); });
}

std::optional<std::string> DuckedTimes::otherAt(const Interval& interval,
                                                const Interval& prompt) const {
    if (!isDucked(interval)) return {};
    const auto found = std::find_if(mPossible.begin(), mPossible.end(), [&](const Span& span) {
        const bool isOfPrompt = span.name == mPrompt && span.interval.begin >= prompt.begin &&
                                span.interval.begin < prompt.end;
        return !isOfPrompt && meet(span.interval, interval);
    });
    return found != mPossible.end() ? std::optional(found->name) : std::nullopt;
}

Interval DuckedTimes::freeBefore(std::size_t frame, std::size_t length) const {
    std::size_t begin = 0;
    std::size_t end = frame;
    for (const Interval& ducked : mDucked) {
        if (ducked.begin >= frame) break;
        if (ducked.end < frame)
            begin = ducked.end;
        else
            end = ducked.begin;
    }
    return {std::max(begin, end - std::min(end, length)), end};
}

Interval DuckedTimes::freeBehind(std::size_t frame, std::size_t length) const {
    std::size_t begin = frame;
    for (const Interval& ducked : mDucked)
        if (meet(ducked, {begin, begin + 1})) begin = ducked.end;
    return {begin, begin + std::min(length, SIZE_MAX - begin)};
}

}  // namespace cabinaudio::hear
