// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Streams.h"

#include "devkit/hear/Alignment.h"
#include "devkit/hear/Error.h"

#include <algorithm>
#include <iterator>

namespace cabinaudio::hear {
namespace {

// Below, a stem is not part of the mix.
constexpr double LEAST_LIKENESS = 0.1;

std::vector<Interval> foundIn(const Sound& heard, const Sound& stem) {
    const Sound sound = stem.rate == heard.rate ? stem : atRate(stem, heard.rate);
    const Alignment found = align({heard, 0, heard.frames(), {}}, sound);
    if (found.likeness < LEAST_LIKENESS) return {};
    const auto end = found.offset + static_cast<std::ptrdiff_t>(sound.frames());
    return {{static_cast<std::size_t>(std::max<std::ptrdiff_t>(found.offset, 0)),
             std::min(static_cast<std::size_t>(end), heard.frames())}};
}

}  // namespace

std::vector<Interval> merged(std::vector<Interval> intervals) {
    std::sort(intervals.begin(), intervals.end(),
              [](const Interval& a, const Interval& b) { return a.begin < b.begin; });
    std::vector<Interval> result;
    for (const Interval& interval : intervals) {
        if (!result.empty() && interval.begin <= result.back().end)
            result.back().end = std::max(result.back().end, interval.end);
        else
            result.push_back(interval);
    }
    return result;
}

std::vector<Interval> intervalsOf(const Recording& recording, const std::string& name) {
    if (!recording.report.isPresent) {
        if (!recording.stems.contains(name))
            throw Error("stream \"" + name + "\": neither a report nor its stem is there");
        return foundIn(recording.heard, recording.stems.at(name));
    }
    std::vector<Interval> intervals;
    for (const StreamReport* entry : entriesOf(recording, name))
        std::transform(
            entry->segments.begin(), entry->segments.end(), std::back_inserter(intervals),
            [](const Segment& segment) {
                return Interval{segment.outputFrame, segment.outputFrame + segment.frames};
            });
    return merged(std::move(intervals));
}

std::vector<const StreamReport*> entriesOf(const Recording& recording, const std::string& name) {
    if (!recording.report.isPresent) throw Error("stream \"" + name + "\": there is no report");
    std::vector<const StreamReport*> entries;
    std::string others;
    for (const StreamReport& stream : recording.report.streams) {
        if (stream.name == name) entries.push_back(&stream);
        others += (others.empty() ? "" : ", ") + stream.name;
    }
    if (entries.empty())
        throw Error("the report has no stream \"" + name + "\"" +
                    (others.empty() ? ", and no other one" : "; it has " + others));
    return entries;
}

const Sound& stemOf(const Recording& recording, const StreamReport& stream) {
    const bool isFirst = entriesOf(recording, stream.name).front() == &stream;
    const auto& stems = isFirst ? recording.stems : recording.laterStems;
    const auto stem = stems.find(isFirst ? stream.name : stream.stem);
    if (stem == stems.end())
        throw Error("stream \"" + stream.name + "\": its stem" +
                    (isFirst || stream.stem.empty() ? "" : " " + stream.stem) +
                    " is not there (--stems of the server)");
    return stem->second;
}

}  // namespace cabinaudio::hear
