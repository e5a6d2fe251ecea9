// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/Report.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/base/Text.h"
#include "devkit/server/base/Version.h"
#include "devkit/server/clients/ConnectType.h"
#include "devkit/server/settings/SettingsJson.h"
#include "devkit/text/Printable.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>

namespace cabinaudio::server {
namespace {

using nlohmann::json;

json describeOutput(const Reported& reported) {
    const Mixer::Counters& counters = reported.mixer.counters();
    return {{"name", reported.output.name()},
            {"rate_hz", reported.format.rate},
            {"channels", reported.format.channels},
            {"format", nameOf(reported.format.type)},
            {"frames", counters.frames},
            {"periods", counters.periods},
            {"late_periods", counters.latePeriods},
            {"clipped_samples", counters.clippedSamples},
            {"errors", reported.output.errors()}};
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
    const std::size_t queued = stream.ring() != nullptr ? stream.ring()->usedFrames() : 0;
    result["queued_frames"] = queued;
    result["queued_ms"] = queued * 1000 / stream.record().format.rate;
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
                   {"rate_hz", parts.format.rate},
                   {"channels", parts.format.channels},
                   {"bits", parts.format.bytesPerSample * 8},
                   {"codec", nameOf(parts.codec)},
                   {"input", parts.input},
                   {"state", stream.isActive() ? "active" : "idle"},
                   {"volume", stream.volume()},
                   {"frames", counters.frames},
                   {"bytes", counters.bytes},
                   {"packets", counters.packets},
                   {"overruns", counters.overruns},
                   {"discarded_bytes", counters.discardedBytes},
                   {"queued_bytes", stream.ring() != nullptr ? stream.ring()->usedBytes() : 0}};
    describeRing(stream.ring(), stream.ringOffer(), result);
    return result;
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
    result["output"] = describeOutput(reported);
    result["clients"] = json::array();
    for (const auto& client : clients) {
        result["clients"].push_back({{"handle", client->handle()},
                                     {"type", static_cast<std::uint32_t>(client->type())},
                                     {"type_name", connectTypeName(client->type())},
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
    result["output"] = describeOutput(reported);
    result["streams"] = json::array();
    for (const auto& record : reported.streams.records()) {
        json stream = describeRecord(*record);
        if (!record->stem.empty()) stream["stem"] = record->stem;
        stream["segments"] = describeSegments(*record);
        result["streams"].push_back(std::move(stream));
    }
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
