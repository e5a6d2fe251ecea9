// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/Report.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/base/Period.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/base/Version.h"
#include "devkit/server/clients/Program.h"
#include "devkit/server/control/GainsJson.h"
#include "devkit/server/mix/GainChain.h"
#include "devkit/server/mix/Loudspeaker.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/settings/SettingsJson.h"
#include "devkit/text/Printable.h"
#include "devkit/trace/ConnectType.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace cabinaudio::server {
namespace {

using nlohmann::json;

/// "2026-11-22T19:01:02.345+00:00"
json timeOf(const std::optional<std::chrono::system_clock::time_point>& time) {
    if (!time) return {};
    const auto sinceEpoch = time->time_since_epoch();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(*time);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count() % 1000;
    std::tm fields = {};
    gmtime_r(&seconds, &fields);
    char text[32] = {};
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &fields);
    return format("%s.%03d+00:00", text, static_cast<int>(ms));
}

/// Whether a card or microphone is open or lost.
void describeDevice(const DeviceState& device, json& result) {
    result["state"] = device.isLost() ? "lost" : "open";
    result["problem"] = textOrNull(device.problem);
    result["since"] = timeOf(device.since);
    result["lost_ms"] = device.isLost() ? json(device.lostFor.count()) : json();
    result["losses"] = device.losses;
}

/// To a tenth of a millisecond.
json latencyOf(const std::optional<double>& ms) {
    return ms ? json(std::round(*ms * 10) / 10) : json();
}

json describeCounters(const Reported& reported) {
    const Mixer::Counters& counters = reported.mixer.counters();
    return {{"name", reported.output.name()},
            {"rate_hz", reported.format.rate},
            {"channels", reported.format.channels},
            {"format", nameOf(reported.format.type)},
            {"frames", counters.frames},
            {"periods", counters.periods},
            {"late_periods", counters.latePeriods},
            {"clipped_samples", counters.clippedSamples},
            {"errors", reported.output.state().device.errors}};
}

json describeOutput(const Reported& reported) {
    const OutputState state = reported.output.state();
    json result = describeCounters(reported);
    describeDevice(state.device, result);
    result["requested"] = reported.requestedOutput;
    result["recent_errors"] = state.device.recentErrors;
    result["last_error"] = textOrNull(state.device.lastError);
    result["dropped_frames"] = state.droppedFrames;
    result["latency_ms"] = latencyOf(state.latencyMs);
    result["warning"] = textOrNull(state.warning);
    return result;
}

/// The microphones of the started recordings.
json describeInputs(const CaptureRegistry& captures) {
    json result = json::array();
    for (const auto& stream : captures.streams()) {
        const auto device = stream->inputDevice();
        if (!device) continue;
        json input = {{"name", device->name}, {"stream", stream->client().name()}};
        describeDevice(device->state, input);
        result.push_back(std::move(input));
    }
    return result;
}

/// To 1 / `parts`: further digits would be noise.
double rounded(double value, double parts) {
    return std::round(value * parts) / parts;
}

json describeLoad(const Mixer& mixer) {
    const LoadMeter::Load load = mixer.load();
    return {{"mix_percent", rounded(load.share * 100.0, 100.0)},
            {"longest_mix_us", load.longest.count()},
            {"period_us", std::chrono::microseconds(PERIOD).count()}};
}

json describeLoudspeakers(const Reported& reported) {
    json result = json::array();
    const std::vector<float> peaks = reported.mixer.peaks();
    for (std::size_t channel = 0; channel < peaks.size(); ++channel) {
        const std::uint32_t mask = maskOf(channel, peaks.size());
        const bool isMuted = mask != 0 && (mask & reported.settings->source.speakers) == 0;
        result.push_back({{"loudspeaker", channel},
                          {"name", mask != 0 ? json(loudspeakerNames(mask)) : json()},
                          {"peak_db", peakOf(peaks[channel])},
                          {"muted", isMuted}});
    }
    return result;
}

json programName(std::int32_t process) {
    const std::optional<std::string> program = programOf(process);
    return program ? json(*program) : json();
}

/// The sound's way from the ring to the loudspeakers.
void describeSound(const Reported& reported, const PlaybackStream& stream, json& result) {
    const std::size_t queued = stream.ring() != nullptr ? stream.ring()->usedFrames() : 0;
    result["queued_frames"] = queued;
    result["queued_ms"] = queued * 1000 / stream.record().format.rate;
    result["latency_ms"] =
        rounded(static_cast<double>(queued) * 1000.0 / stream.record().format.rate, 10.0);
    const std::uint64_t now = reported.mixer.counters().frames;
    result["peak_db"] = peakOf(stream.peak(now));
    result["heard_db"] = peakOf(stream.heardPeak(now));
    result["gains"] = describeGains(gainChainOf(stream.record(), *reported.settings,
                                                reported.format.channels, reported.mixer.prompt()));
}

json describeRecord(const StreamRecord& record) {
    return {{"name", record.name},
            {"tag", AudioTypes::getTag(static_cast<AudioTagType>(record.tag))},
            {"tag_number", record.tag},
            {"process", record.pid},
            {"rate_hz", record.format.rate},
            {"channels", record.format.channels},
            {"bits", record.format.bytesPerSample * 8},
            {"frames", record.frames},
            {"discarded_frames", record.discardedFrames},
            {"underruns", record.underruns},
            {"finishes", record.finishes}};
}

void describeRing(const ServerRing* ring, const RingOffer* offer, json& result) {
    result["ring_bytes"] = ring != nullptr ? ring->size() : 0;
    if (ring != nullptr && ring->isPhysical()) result["ring_address"] = ring->address();
    if (offer != nullptr) result["ring"] = offer->stateName();
}

json describeStream(const Reported& reported, const PlaybackStream& stream) {
    json result = describeRecord(stream.record());
    result["kind"] = stream.isSink() ? "sink" : "track";
    result["type"] = stream.record().type;
    result["state"] = stream.isActive() ? "active" : "idle";
    result["write_done"] = stream.isWriteDone();
    result["key_shift"] = stream.keyShift();
    result["program"] = programName(stream.record().pid);
    describeSound(reported, stream, result);
    describeRing(stream.ring(), stream.ringOffer(), result);
    if (stream.isSink())
        result["source"] = reported.streams.sources().active() == &stream ? "active" : "withdrawn";
    return result;
}

json describeCapture(const CaptureStream& stream) {
    const CaptureStream::Parts& parts = stream.parts();
    const CaptureStream::Counters& counters = stream.counters();
    json result = {{"name", stream.client().name()},
                   {"kind", stream.isUplink() ? "uplink" : "capture"},
                   {"tag", AudioTypes::getTag(static_cast<AudioTagType>(parts.tag))},
                   {"tag_number", parts.tag},
                   {"process", parts.pid},
                   {"program", programName(parts.pid)},
                   {"rate_hz", parts.format.rate},
                   {"channels", parts.format.channels},
                   {"bits", parts.format.bytesPerSample * 8},
                   {"codec", nameOf(parts.codec)},
                   {"input", parts.input},
                   {"state", stream.isActive() ? "active" : "idle"},
                   {"volume", stream.volume()},
                   {"peak_db", peakOf(stream.peak())},
                   {"frames", counters.frames},
                   {"bytes", counters.bytes},
                   {"packets", counters.packets},
                   {"overruns", counters.overruns},
                   {"discarded_bytes", counters.discardedBytes},
                   {"queued_bytes", stream.ring() != nullptr ? stream.ring()->usedBytes() : 0}};
    describeRing(stream.ring(), stream.ringOffer(), result);
    return result;
}

/// Where frames decide, the order of creation depends on the machine.
std::vector<std::shared_ptr<StreamRecord>> sortedRecords(const Reported& reported) {
    auto records = reported.streams.records();
    if (!reported.timeOptions.isOwned()) return records;
    std::stable_sort(records.begin(), records.end(), [](const auto& left, const auto& right) {
        return std::tie(left->tag, left->name) < std::tie(right->tag, right->name);
    });
    return records;
}

json describeSegments(const StreamRecord& record) {
    json result = json::array();
    for (const Segment& segment : record.segments) {
        result.push_back({{"output_frame", segment.outputFrame},
                          {"stream_frame", segment.streamFrame},
                          {"frames", segment.outputFrames}});
    }
    return result;
}

}  // namespace

json stateOf(const Reported& reported, const std::vector<std::unique_ptr<Client>>& clients) {
    json result;
    result["version"] = format("%d.%d.%d", SERVER_VERSION[0], SERVER_VERSION[1], SERVER_VERSION[2]);
    result["fast"] = reported.timeOptions.mode != TimeMode::Real;
    result["output"] = describeOutput(reported);
    result["inputs"] = describeInputs(reported.captures);
    result["load"] = describeLoad(reported.mixer);
    result["loudspeakers"] = describeLoudspeakers(reported);
    result["clients"] = json::array();
    for (const auto& client : clients) {
        result["clients"].push_back({{"handle", client->handle()},
                                     {"type", static_cast<std::uint32_t>(client->type())},
                                     {"type_name", trace::connectTypeName(client->type())},
                                     {"name", client->name()}});
    }
    result["streams"] = json::array();
    for (const auto& stream : reported.streams.streams())
        result["streams"].push_back(describeStream(reported, *stream));
    for (const auto& stream : reported.captures.streams())
        result["streams"].push_back(describeCapture(*stream));
    result["settings"] = jsonOf(*reported.settings);
    return result;
}

json watchedOf(const Settings& settings, const StreamRegistry& streams) {
    json playing = json::array();
    for (const auto& stream : streams.streams())
        if (stream->isActive())
            playing.push_back(
                {{"name", stream->record().name},
                 {"tag", AudioTypes::getTag(static_cast<AudioTagType>(stream->record().tag))}});
    return {{"settings", jsonOf(*settings)}, {"streams", std::move(playing)}};
}

json reportOf(const Reported& reported) {
    json result;
    result["output"] = describeCounters(reported);
    result["output"]["losses"] = reported.output.state().device.losses;
    result["output"]["dropped_frames"] = reported.output.state().droppedFrames;
    result["streams"] = json::array();
    for (const auto& record : sortedRecords(reported)) {
        json stream = describeRecord(*record);
        if (reported.timeOptions.isOwned()) stream.erase("process");
        if (!record->stem.empty()) stream["stem"] = record->stem;
        stream["started_at_frame"] =
            record->startedAtFrame ? json(*record->startedAtFrame) : json();
        stream["segments"] = describeSegments(*record);
        result["streams"].push_back(std::move(stream));
    }
    result["time"] = reported.time.describe();
    if (reported.changes != nullptr)
        result["changes"] =
            reported.changes->describe(sortedRecords(reported), reported.format.rate);
    return result;
}

void writeFile(const std::string& path, const json& json) {
    std::ofstream file(path);
    file << json.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
    file.close();
    if (!file) throw std::runtime_error(path + " cannot be written");
}

std::string textOf(const json& json) {
    return text::printableJson(json.dump(-1, ' ', false, json::error_handler_t::replace));
}

}  // namespace cabinaudio::server
