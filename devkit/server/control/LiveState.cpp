// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/LiveState.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/base/Text.h"
#include "devkit/server/base/Version.h"
#include "devkit/server/clients/Program.h"
#include "devkit/server/control/GainsJson.h"
#include "devkit/server/control/Report.h"
#include "devkit/server/mix/Loudspeaker.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/sound/ChannelMatrix.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <functional>
#include <numeric>

namespace cabinaudio::server {
namespace {

using nlohmann::json;
using Wall = std::chrono::system_clock;

constexpr std::size_t MOST_PROGRAMS = 256;

json millisecondsSince1970(Wall::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

const GainLink* findStage(const std::vector<GainLink>& chain, std::string_view stage) {
    const auto found = std::find_if(chain.begin(), chain.end(),
                                    [&](const GainLink& link) { return link.stage == stage; });
    return found != chain.end() ? &*found : nullptr;
}

/// Who lowers the stream, and by how much.
json describeDucking(const std::vector<GainLink>& chain) {
    const GainLink* const ducking = findStage(chain, "ducking");
    if (ducking == nullptr || ducking->factor >= 1.0F) return json::array();
    return json::array({{{"name", ducking->cause}, {"db", decibels(ducking->factor, 100.0)}}});
}

/// The gains as one number, and what one changes them with.
void describeGain(const std::vector<GainLink>& chain, json& result) {
    const float all =
        std::accumulate(chain.begin(), chain.end(), 1.0F,
                        [](float product, const GainLink& link) { return product * link.factor; });
    const GainLink* const track = findStage(chain, "track");
    const GainLink* const mute = findStage(chain, "mute");
    constexpr std::string_view PREFIX = "mute.";
    result["volume"] = decibels(track->factor, 100.0);
    result["volume_setting"] = textOrNull(track->setting);
    result["output"] = mute->setting.substr(PREFIX.size());
    result["muted"] =
        std::any_of(chain.begin(), chain.end(), [](const GainLink& link) { return link.isMuted; });
    result["gain_db"] = decibels(all, 100.0);
    result["ducked_by"] = describeDucking(chain);
    result["path"] = describeGains(chain);
}

}  // namespace

std::string LiveState::answer(const std::string& argument) {
    std::uint64_t known = 0;
    const char* const end = argument.data() + argument.size();
    const auto [stop, error] = std::from_chars(argument.data(), end, known);
    if (!argument.empty() && (error != std::errc() || stop != end))
        return "error: no number of a request: " + printable(argument);
    const json result = {
        {"time_ms", millisecondsSince1970(Wall::now())},
        {"version", format("%d.%d.%d", SERVER_VERSION[0], SERVER_VERSION[1], SERVER_VERSION[2])},
        {"time", nameOf(mSources.time)},
        {"loudspeakers", describeLoudspeakers()},
        {"spectrum", describeSpectrum()},
        {"streams", describeStreams()},
        {"captures", describeCaptures()},
        {"requests", describeRequests(known)}};
    return textOf(result);
}

json LiveState::describeLoudspeakers() const {
    json result = json::array();
    const std::vector<float> peaks = mSources.mixer.peaks();
    const auto rms = mSources.mixer.meter().rms();
    for (std::size_t channel = 0; channel < peaks.size(); ++channel) {
        const std::uint32_t mask = maskOf(channel, peaks.size());
        const bool isMuted = mask != 0 && (mask & mSources.settings->source.speakers) == 0;
        result.push_back({{"name", mask != 0 ? json(loudspeakerNames(mask)) : json()},
                          {"peak_db", peakOf(peaks[channel])},
                          {"rms_db", channel < rms.size() ? peakOf(rms[channel]) : json()},
                          {"muted", isMuted}});
    }
    return result;
}

json LiveState::describeSpectrum() const {
    json result = json::array();
    for (const Meter::Band& band : mSources.mixer.meter().thirds())
        result.push_back({{"hz", band.hz}, {"db", peakOf(band.level)}});
    return result;
}

json LiveState::describeStreams() {
    json result = json::array();
    for (const auto& stream : mSources.streams.streams()) {
        json one = describe(*stream);
        one["program"] = textOrNull(programOf(stream->record().pid));
        result.push_back(std::move(one));
    }
    return result;
}

json LiveState::describe(const PlaybackStream& stream) const {
    const StreamRecord& record = stream.record();
    const std::uint64_t now = mSources.mixer.counters().frames;
    const std::size_t queued = stream.queuedFrames();
    const float peak = stream.peak(now);
    json result = {{"id", stream.client().handle()},
                   {"name", record.name},
                   {"kind", stream.isSink() ? "sink" : "track"},
                   {"pid", record.pid},
                   {"tag", AudioTypes::getTag(static_cast<AudioTagType>(record.tag))},
                   {"type", record.type},
                   {"state", stream.isActive() ? "active" : "idle"},
                   {"source", nullptr},
                   {"peak_db", peakOf(peak)},
                   {"level_db", peakOf(stream.heardPeak(now))},
                   {"queue_ms", queued * 1000 / record.format.rate},
                   {"underruns", record.underruns}};
    if (stream.isSink())
        result["source"] = mSources.streams.sources().active() == &stream ? "active" : "withdrawn";
    describeGain(gainChainOf(record, *mSources.settings, mSources.mixer.format().channels,
                             mSources.mixer.prompt()),
                 result);
    result["loudspeakers_db"] = loudspeakersOf(stream, peak);
    return result;
}

/// The stream's peak behind all gains, in each loudspeaker.
json LiveState::loudspeakersOf(const PlaybackStream& stream, float peak) const {
    const SettingsData& settings = *mSources.settings;
    const std::size_t inputs = stream.record().format.channels;
    const std::size_t outputs = mSources.mixer.format().channels;
    const StreamGains gains = gainsOf(stream.record(), settings, !mSources.mixer.prompt().empty());
    const ChannelMatrix route(inputs, outputs, settings.mixer.upMixMode == 1);
    json result = json::array();
    for (std::size_t output = 0; output < outputs; ++output) {
        float factor = 0.0F;
        for (std::size_t input = 0; input < inputs; ++input)
            factor = std::max(factor,
                              route.factor(input, output) * gains.factor(input, output, outputs));
        result.push_back(peakOf(peak * factor));
    }
    return result;
}

json LiveState::describeCaptures() {
    json result = json::array();
    for (const auto& stream : mSources.captures.streams()) {
        const CaptureStream::Parts& parts = stream->parts();
        result.push_back(
            {{"id", stream->client().handle()},
             {"name", stream->client().name()},
             {"kind", stream->isUplink() ? "uplink" : "capture"},
             {"program", textOrNull(programOf(parts.pid))},
             {"pid", parts.pid},
             {"tag", AudioTypes::getTag(static_cast<AudioTagType>(parts.tag))},
             {"codec", nameOf(parts.codec)},
             {"input", parts.input},
             {"state", stream->isActive() ? "active" : "idle"},
             {"ring",
              stream->ringOffer() != nullptr ? json(stream->ringOffer()->stateName()) : json()},
             {"ring_bytes", stream->ring() != nullptr ? stream->ring()->size() : 0},
             {"queue_bytes", stream->ring() != nullptr ? stream->ring()->usedBytes() : 0},
             {"level_db", peakOf(stream->peak())},
             {"overruns", stream->counters().overruns},
             {"packets", stream->counters().packets}});
    }
    return result;
}

json LiveState::describeRequests(std::uint64_t known) const {
    json result = json::array();
    for (const RequestLog::Entry& entry : mSources.requests.entries()) {
        if (entry.number <= known) continue;
        result.push_back({{"number", entry.number},
                          {"time_ms", millisecondsSince1970(entry.time)},
                          {"who", entry.who},
                          {"name", entry.name},
                          {"request", entry.request},
                          {"status", entry.status},
                          {"us", entry.duration.count()}});
    }
    return result;
}

const std::string& LiveState::programOf(std::int32_t process) {
    // Numbers of processes come again: a wrong name must not stay for ever.
    if (mPrograms.size() > MOST_PROGRAMS) mPrograms.clear();
    const auto found = mPrograms.find(process);
    if (found != mPrograms.end()) return found->second;
    return mPrograms.emplace(process, server::programOf(process).value_or("")).first->second;
}

}  // namespace cabinaudio::server
