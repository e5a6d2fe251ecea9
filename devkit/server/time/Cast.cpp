// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/time/Cast.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/base/Period.h"
#include "devkit/server/base/Text.h"

#include <algorithm>

namespace cabinaudio::server {
namespace {

// Without a change for so long, a ring counts as settled although its client does not wait for it:
// a client that never blocks cannot be seen to wait.
constexpr std::chrono::milliseconds QUIET{500};

bool isPlaying(const PlaybackStream& stream) {
    return stream.isActive() && !stream.isEnded();
}

std::string keyOf(const char* kind, std::uint32_t handle) {
    return std::string(kind) + " " + std::to_string(handle);
}

std::string forBound(std::chrono::milliseconds bound) {
    return format(" for %lld ms", static_cast<long long>(bound.count()));
}

template <typename Stream>
Need lettingGo(const Stream& stream, const std::string& title, std::chrono::milliseconds bound) {
    const std::string& name = stream.client().name();
    return {keyOf("ring", stream.client().handle()),
            name,
            "letting go",
            stream.client().handle(),
            {},
            title + " " + inQuotes(name) + " does not let go of its ring" + forBound(bound),
            bound};
}

}  // namespace

// ---- Starts and stops ---------------------------------------------------------------------------

bool Cast::isOtherAudible(const Seen& seen) const {
    return std::any_of(mSeen.begin(), mSeen.end(), [&](const auto& item) {
        return &item.second != &seen && item.second.isAudible;  // as of the last look
    });
}

void Cast::noteChange(Seen& seen, std::uint32_t starts, bool isActive, bool isOver,
                      std::vector<Event>& events) {
    const bool isStopped = seen.isAudible && (!isActive || starts != seen.starts) && !isOver;
    const bool isStarted = isActive && starts != seen.starts;
    if (starts != seen.starts) seen.isAdmitted = false;
    seen.starts = starts;
    if (seen.isCapture) return;
    if (isStopped && !isStarted)
        events.push_back({Event::Kind::Stopped, seen.name, isOtherAudible(seen)});
    if (isStarted) events.push_back({Event::Kind::Started, seen.name, isOtherAudible(seen)});
}

/// A stream that has taken part since its start is never early again.
bool Cast::isEarly(Seen& seen, bool isActive, const Agenda& agenda, std::uint64_t frame) {
    if (!isActive || seen.isAdmitted) return false;
    seen.isAdmitted = !agenda.isEarly(seen.name, frame);
    return !seen.isAdmitted;
}

std::vector<Cast::Event> Cast::look(Agenda& agenda, std::uint64_t frame) {
    std::vector<Event> events;
    for (auto& [handle, seen] : mSeen)
        seen.isThere = false;
    for (const auto& stream : mStreams.streams()) {
        Seen& seen = mSeen[stream->client().handle()];
        seen.isThere = true;
        seen.name = stream->record().name;
        noteChange(seen, stream->starts(), stream->isActive(), stream->isOver(), events);
        stream->hold(isEarly(seen, stream->isActive(), agenda, frame));
        stream->endIfDone();
        seen.isAudible = isPlaying(*stream) && !stream->isOver();
    }
    for (const auto& stream : mCaptures.streams()) {
        Seen& seen = mSeen[stream->client().handle()];
        seen.isThere = seen.isCapture = true;
        seen.name = stream->client().name();
        noteChange(seen, stream->starts(), stream->isActive(), false, events);
        stream->hold(isEarly(seen, stream->isActive(), agenda, frame));
        seen.isAudible = stream->isActive();
    }
    for (const auto& [handle, seen] : mSeen) {
        if (!seen.isThere && seen.isAudible && !seen.isCapture)
            events.push_back({Event::Kind::Gone, seen.name, isOtherAudible(seen)});
    }
    std::erase_if(mSeen, [](const auto& item) { return !item.second.isThere; });
    return events;
}

std::size_t Cast::started() const {
    const auto playing = std::count_if(mStreams.streams().begin(), mStreams.streams().end(),
                                       [](const auto& stream) { return isPlaying(*stream); });
    const auto recording = std::count_if(mCaptures.streams().begin(), mCaptures.streams().end(),
                                         [](const auto& stream) { return stream->isActive(); });
    return static_cast<std::size_t>(playing + recording);
}

bool Cast::isStarted(const std::string& name) const {
    return std::any_of(mStreams.streams().begin(), mStreams.streams().end(),
                       [&](const auto& stream) {
                           return isPlaying(*stream) && stream->record().name == name;
                       }) ||
           std::any_of(mCaptures.streams().begin(), mCaptures.streams().end(),
                       [&](const auto& stream) {
                           return stream->isActive() && stream->client().name() == name;
                       });
}

// ---- The next frames ----------------------------------------------------------------------------

Cast::Readiness Cast::prepare(const Part& part,
                              const std::function<void(const PlaybackStream&)>& wentOn) {
    Readiness readiness;
    for (const auto& stream : mStreams.streams())
        prepare(*stream, part, readiness, wentOn);
    for (const auto& stream : mCaptures.streams())
        prepare(*stream, part, readiness);
    return readiness;
}

void Cast::prepare(PlaybackStream& stream, const Part& part, Readiness& readiness,
                   const std::function<void(const PlaybackStream&)>& wentOn) {
    stream.checkRing();
    if (stream.isLettingGo()) {
        readiness.needs.push_back(lettingGo(stream, "stream", mOptions.patience));
        return;
    }
    if (!isPlaying(stream)) return;
    if (mSeen.contains(stream.client().handle()) &&
        !mSeen.at(stream.client().handle()).isAdmitted) {
        readiness.isAnyParked = true;
        return;
    }
    if (stream.isWithoutRing()) {
        readiness.isAnyParked = true;
        return;
    }
    if (stream.isDrained()) {
        const std::size_t period = framesOfPeriod(stream.record().format.rate);
        if (stream.queuedFrames() < stream.neededFrames(period)) return;
        stream.resume();
        wentOn(stream);
    }
    if (!stream.isDry() && stream.isBehind(part.frames))
        readiness.needs.push_back(dataNeed(stream, stream.neededFrames(part.frames)));
    else {
        mSeen[stream.client().handle()].activity.reset();
        ++readiness.ready;
    }
}

/// On a busy machine a program may get no processor for longer than a tail: it has not stopped
/// writing. So the wait begins anew while the program goes on, but not longer than for other
/// streams. A program may have threads that never rest.
std::string Cast::tailKey(const PlaybackStream& stream) {
    Seen& seen = mSeen[stream.client().handle()];
    if (!seen.activity) seen.activity.emplace(stream.record().pid);
    if (seen.activity->age() < mOptions.patience && seen.activity->goesOn()) ++seen.tails;
    return keyOf("tail", stream.client().handle()) + " " + std::to_string(seen.tails);
}

Need Cast::dataNeed(const PlaybackStream& stream, std::size_t needed) {
    const std::size_t queued = stream.queuedFrames();
    const std::string& name = stream.record().name;
    const std::uint32_t handle = stream.client().handle();
    const bool knowsEnd = stream.record().tag != AUDIO_TAG_ALTERNATIVE;
    if (!knowsEnd && (queued > 0 || stream.hasSounded()))
        return {tailKey(stream), name, "data", handle, queued, "", mOptions.tail};
    return {keyOf("data", handle),
            name,
            "data",
            handle,
            queued,
            "stream " + inQuotes(name) + " was started and writes nothing" +
                forBound(mOptions.patience) + format(" (%zu of %zu frames queued)", queued, needed),
            mOptions.patience};
}

void Cast::prepare(CaptureStream& stream, const Part& part, Readiness& readiness) {
    if (stream.isLettingGo()) {
        readiness.needs.push_back(lettingGo(stream, "capture stream", mOptions.patience));
        return;
    }
    if (!stream.isActive()) return;
    if (stream.isHeld()) {
        readiness.isAnyParked = true;
        return;
    }
    const std::uint32_t handle = stream.client().handle();
    const std::string& name = stream.client().name();
    const auto need = [&](const char* why, const char* complaint) {
        readiness.needs.push_back(
            {keyOf("read", handle),
             name,
             why,
             handle,
             {},
             "capture stream " + inQuotes(name) + complaint + forBound(mOptions.patience),
             mOptions.patience});
    };
    if (stream.isRingAwaited())
        need("ring", " does not ask for its ring");
    else if (stream.isFlowing() && part.endsPeriod && !stream.makeRoom())
        need("read", " is not read");
    else if (stream.isFlowing())
        ++readiness.ready;
}

void Cast::runDry(std::uint32_t handle) {
    for (const auto& stream : mStreams.streams())
        if (stream->client().handle() == handle) stream->runDry();
}

/// A stream without room was given up: it loses data, as it would in real time.
void Cast::record() {
    for (const auto& stream : mCaptures.streams()) {
        if (!stream->isFlowing() || stream->isHeld()) continue;
        if (stream->makeRoom())
            stream->step();
        else
            stream->fillPeriod();
    }
}

// ---- What is queued -----------------------------------------------------------------------------

void Cast::askWriters() {
    for (const auto& stream : mStreams.streams())
        stream->wakeWriter();
}

std::vector<Need> Cast::writing() {
    std::vector<Need> needs;
    for (const auto& stream : mStreams.streams()) {
        const std::uint32_t handle = stream->client().handle();
        if (stream->isSettled())
            mExcused.erase(handle);
        else if (!mExcused.contains(handle))
            needs.push_back({keyOf("write", handle) + " " + std::to_string(stream->queuedFrames()),
                             stream->record().name, "settling", handle, stream->queuedFrames(), "",
                             QUIET});
    }
    return needs;
}

/// A need's key contains the fill level, so that each change begins a new wait.
std::vector<Need> Cast::unsettled() const {
    std::vector<Need> needs;
    const auto add = [&](const char* kind, const auto& stream, std::size_t queued, bool isRing) {
        const std::uint32_t handle = stream.client().handle();
        needs.push_back({keyOf(kind, handle) + " " + std::to_string(queued), stream.client().name(),
                         "settling", handle, queued, "", isRing ? mOptions.patience : QUIET});
    };
    for (const auto& stream : mStreams.streams()) {
        if (stream->isLettingGo() || !stream->isSettled())
            add("write", *stream, stream->queuedFrames(), stream->isLettingGo());
    }
    for (const auto& stream : mCaptures.streams()) {
        if (stream->isLettingGo() || stream->isRingAwaited())
            add("ring", *stream, 0, true);
        else if (stream->isFlowing() && stream->ring()->usedBytes() > 0)
            add("read", *stream, stream->ring()->usedBytes(), false);
    }
    return needs;
}

void Cast::wakeAll() {
    for (const auto& stream : mStreams.streams())
        if (stream->isActive()) stream->wakeWriter();
    for (const auto& stream : mCaptures.streams())
        stream->wakeReader();
}

}  // namespace cabinaudio::server
