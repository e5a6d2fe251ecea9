// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/SettingOperation.h"
#include "devkit/server/settings/Level.h"
#include "devkit/server/settings/Limits.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/streams/PlaybackStream.h"
#include "devkit/server/streams/StreamRegistry.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

namespace cabinaudio::server {
namespace {

constexpr std::int32_t TONE = 2;  // a test pattern

const SourceSettings& sourceOf(const Call& call) {
    return call.services.settings->source;
}

/// @return the status of an accepted request
template <typename Change>
std::int32_t change(Call& call, Change make) {
    call.services.settings.change([&](SettingsData& data) { make(data.source); });
    return AUDIO_NO_ERROR;
}

/// A number that is only stored.
template <std::int32_t SourceSettings::*VALUE>
std::int32_t setNumber(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    return change(call, [&](SourceSettings& source) { source.*VALUE = request.value; });
}

template <bool SourceSettings::*VALUE>
std::int32_t setSwitch(Call& call, const wire::NumberRequest& request, wire::StatusReply&) {
    return change(call, [&](SourceSettings& source) { source.*VALUE = request.value != 0; });
}

// ---- Outputs and their sources ------------------------------------------------------------------

/// Only the main output selects one of several sources.
bool isOutput(const std::string& tag) {
    return isTrackTag(tag);
}

/// The sink that plays on the main output, else the chosen name.
std::string outputSource(const Call& call, const std::string& tag) {
    const PlaybackStream* sink = call.services.streams.sources().active();
    if (tag == "main" && sink != nullptr) return sink->record().name;
    const auto& chosen = sourceOf(call).outputSources;
    const auto found = chosen.find(tag);
    return found != chosen.end() ? found->second : "";
}

/// A sink created later gets the source anyway, as the newest one.
std::int32_t setOutputSource(Call& call, const wire::TwoNamesRequest& request, wire::StatusReply&) {
    const std::string tag = textOf(request.tag);
    if (!isOutput(tag)) return AUDIO_BAD_VALUE;
    const std::string name = textOf(request.name);
    StreamRegistry& streams = call.services.streams;
    PlaybackStream* sink = tag == "main" ? streams.findSink(name) : nullptr;
    if (sink != nullptr) streams.sources().activate(*sink);
    return change(call, [&](SourceSettings& source) { source.outputSources[tag] = name; });
}

std::int32_t getOutputSource(Call& call, const wire::NameRequest& request, wire::NameReply& reply) {
    const std::string tag = textOf(request.name);
    if (!isOutput(tag)) return AUDIO_BAD_VALUE;
    put(outputSource(call, tag), reply.name);
    return AUDIO_NO_ERROR;
}

std::int32_t setInputDestination(Call& call, const wire::TwoNamesRequest& request,
                                 wire::StatusReply&) {
    if (textOf(request.tag) != "uplink") return AUDIO_BAD_VALUE;
    return change(call,
                  [&](SourceSettings& source) { source.uplinkDestination = textOf(request.name); });
}

std::int32_t getInputDestination(Call& call, const wire::NameRequest& request,
                                 wire::NameReply& reply) {
    if (textOf(request.name) != "uplink") return AUDIO_BAD_VALUE;
    put(sourceOf(call).uplinkDestination, reply.name);
    return AUDIO_NO_ERROR;
}

std::int32_t dumpOutputSources(Call& call, const wire::NameRequest& request, wire::StatusReply&) {
    const auto tag = playbackTagOf(textOf(request.name));
    if (!tag) return AUDIO_BAD_VALUE;
    const StreamRegistry& streams = call.services.streams;
    std::string text;
    for (const auto& stream : streams.streams()) {
        if (stream->record().tag != *tag) continue;
        text += text.empty() ? " " : ", ";
        text += "\"" + printable(stream->record().name) + "\"";
        text += stream->isActive() ? " active" : " idle";
        if (streams.sources().active() == stream.get()) text += " heard";
    }
    log::info("sources of %s:%s", textOf(request.name).c_str(),
              text.empty() ? " none" : text.c_str());
    return AUDIO_NO_ERROR;
}

std::int32_t dumpInputDestinations(Call& call, const wire::NameRequest& request,
                                   wire::StatusReply&) {
    if (textOf(request.name) != "uplink") return AUDIO_BAD_VALUE;
    log::info("destination of uplink: \"%s\"", printable(sourceOf(call).uplinkDestination).c_str());
    return AUDIO_NO_ERROR;
}

std::int32_t selectSource(Call& call, const wire::TwoNumbersRequest& request, wire::StatusReply&) {
    const auto& seats = sourceOf(call).seatSources;
    if (seats.size() >= MOST_REMEMBERED && !seats.contains(request.first)) return AUDIO_NO_MEMORY;
    return change(
        call, [&](SourceSettings& source) { source.seatSources[request.first] = request.second; });
}

// ---- Tracks -------------------------------------------------------------------------------------

template <typename Act>
void forEachActive(const Call& call, Act act) {
    for (const auto& stream : call.services.streams.streams())
        if (stream->isActive()) act(*stream);
}

std::int32_t getSourceNumber(Call& call, const wire::NameRequest& request,
                             wire::NumberReply& reply) {
    const auto tag = playbackTagOf(textOf(request.name));
    if (!tag) return AUDIO_BAD_VALUE;
    forEachActive(call, [&](const PlaybackStream& stream) {
        if (stream.record().tag == *tag) ++reply.value;
    });
    return AUDIO_NO_ERROR;
}

/// The next free slot; null when all are used.
template <typename Slot, std::uint32_t SLOTS>
Slot* nextSlot(wire::List<Slot, SLOTS>& list) {
    return list.count < static_cast<std::int32_t>(SLOTS) ? &list.slots[list.count++] : nullptr;
}

std::int32_t getActiveTrackNames(Call& call, const wire::NameRequest& request,
                                 wire::NamesReply& reply) {
    const auto tag = playbackTagOf(textOf(request.name));
    if (!tag) return AUDIO_BAD_VALUE;
    forEachActive(call, [&](const PlaybackStream& stream) {
        if (stream.record().tag != *tag) return;
        if (wire::Name* slot = nextSlot(reply.list)) put(stream.record().name, *slot);
    });
    return AUDIO_NO_ERROR;
}

std::int32_t getTrackStreamType(Call& call, const wire::TwoNamesRequest& request,
                                wire::NameReply& reply) {
    const auto tag = playbackTagOf(textOf(request.tag));
    const std::string name = textOf(request.name);
    for (const auto& stream : call.services.streams.streams()) {
        const StreamRecord& record = stream->record();
        if (!tag || record.tag != *tag || record.name != name) continue;
        put(record.type, reply.name);
        return AUDIO_NO_ERROR;
    }
    return AUDIO_BAD_VALUE;
}

std::int32_t getActiveTracks(Call& call, const wire::FunctionRequest&, wire::TracksReply& reply) {
    forEachActive(call, [&](const PlaybackStream& stream) {
        wire::TrackInfo* slot = nextSlot(reply.list);
        if (slot == nullptr) return;
        const StreamRecord& record = stream.record();
        put(AudioTypes::getTag(static_cast<AudioTagType>(record.tag)), slot->tag);
        put(record.name, slot->name);
        put(record.type, slot->type);
        slot->rate = record.format.rate;
        slot->channels = record.format.channels;
    });
    return AUDIO_NO_ERROR;
}

std::int32_t getOutputTrackInfo(Call& call, const wire::NumberRequest& request,
                                wire::OutputTracksReply& reply) {
    const auto outputs = static_cast<std::uint32_t>(request.value);
    if (outputs == 0 || (outputs & ~(wire::MAIN_OUTPUT | wire::OTHER_OUTPUTS)) != 0)
        return AUDIO_BAD_VALUE;
    for (const auto& stream : call.services.streams.streams()) {
        const std::uint32_t output = stream->isSink() ? wire::MAIN_OUTPUT : wire::OTHER_OUTPUTS;
        if ((outputs & output) == 0) continue;
        wire::OutputTrack* slot = nextSlot(reply.list);
        if (slot == nullptr) break;
        const StreamRecord& record = stream->record();
        record.name.copy(slot->name, sizeof slot->name - 1);
        slot->tag = record.tag;
        slot->rate = record.format.rate;
        slot->channels = record.format.channels;
        slot->bits = static_cast<std::uint32_t>(record.format.bytesPerSample * 8);
        slot->isActive = stream->isActive() ? 1 : 0;
    }
    return AUDIO_NO_ERROR;
}

std::int32_t getSignalEnergy(Call& call, const wire::NumberRequest& request,
                             wire::LevelReply& reply) {
    if (request.value != wire::MIX_HARDWARE) return AUDIO_BAD_VALUE;
    const Levels levels = call.services.mixer.meter().levels();
    reply.level = millionths(*std::max_element(levels.rms.begin(), levels.rms.end()));
    return AUDIO_NO_ERROR;
}

// ---- Converters and buses -----------------------------------------------------------------------

std::int32_t setAdcMuxPin(Call& call, const wire::TwoNumbersRequest& request, wire::StatusReply&) {
    const auto input = static_cast<std::uint32_t>(request.first);
    if (input >= sourceOf(call).adcPins.size()) return AUDIO_BAD_VALUE;
    return change(call, [&](SourceSettings& source) { source.adcPins[input] = request.second; });
}

std::int32_t getAdcMuxPin(Call& call, const wire::NumberRequest& request,
                          wire::NumberReply& reply) {
    const auto input = static_cast<std::uint32_t>(request.value);
    if (input >= sourceOf(call).adcPins.size()) return AUDIO_BAD_VALUE;
    reply.value = sourceOf(call).adcPins[input];
    return AUDIO_NO_ERROR;
}

template <auto MAPPING, typename Request>
std::int32_t setMapping(Call& call, const Request& request, wire::StatusReply&) {
    const auto& entries = request.value.entry;
    const bool areValid = std::all_of(std::begin(entries), std::end(entries),
                                      [](std::int32_t entry) { return entry <= MAPPING_MAX; });
    if (!areValid) return AUDIO_BAD_VALUE;
    return change(call, [&](SourceSettings& source) {
        std::copy(std::begin(entries), std::end(entries), (source.*MAPPING).begin());
    });
}

template <auto MAPPING, typename Reply>
std::int32_t getMapping(Call& call, const wire::FunctionRequest&, Reply& reply) {
    const auto& entries = sourceOf(call).*MAPPING;
    std::copy(entries.begin(), entries.end(), std::begin(reply.value.entry));
    return AUDIO_NO_ERROR;
}

std::int32_t configurePcmInterface(Call& call, const wire::PcmInterfaceRequest& request,
                                   wire::StatusReply&) {
    return change(call, [&](SourceSettings& source) {
        std::copy(std::begin(request.value.opaque0), std::end(request.value.opaque0),
                  source.pcmInterface.begin());
    });
}

std::int32_t setI2sFormat(Call& call, const wire::I2sFormatRequest& request, wire::StatusReply&) {
    const auto& formats = sourceOf(call).i2sFormats;
    if (formats.size() >= MOST_REMEMBERED && !formats.contains(request.selection))
        return AUDIO_NO_MEMORY;
    return change(call, [&](SourceSettings& source) {
        source.i2sFormats[request.selection] = {request.first, request.second};
    });
}

std::int32_t setSampleRateCapability(Call& call, const wire::NumberRequest& request,
                                     wire::StatusReply&) {
    if (request.value < 0 || request.value > CAPABILITY_MAX) return AUDIO_BAD_VALUE;
    return change(call,
                  [&](SourceSettings& source) { source.sampleRateCapability = request.value; });
}

// ---- Loudspeakers -------------------------------------------------------------------------------

std::int32_t setTest(Call& call, const SourceSettings::Test& test) {
    if (test.channels == 0 || test.pattern == 0)
        return change(call, [](SourceSettings& source) { source.test = {}; });
    if (!isLoudspeakers(test.channels)) return AUDIO_BAD_VALUE;
    return change(call, [&](SourceSettings& source) { source.test = test; });
}

std::int32_t setSpeakerPattern(Call& call, const wire::ChannelNumberRequest& request,
                               wire::StatusReply&) {
    if (request.value < 0 || request.value > TEST_PATTERN_MAX) return AUDIO_BAD_VALUE;
    return setTest(call, {request.channels, static_cast<std::uint32_t>(request.value), 0});
}

std::int32_t setSpeakerTone(Call& call, const wire::ChannelNumberRequest& request,
                            wire::StatusReply&) {
    if (request.value < 1 || request.value > FREQUENCY_MAX) return AUDIO_BAD_VALUE;
    return setTest(call, {request.channels, TONE, static_cast<std::uint32_t>(request.value)});
}

std::int32_t setSpeakerOutput(Call& call, const wire::ChannelRequest& request, wire::StatusReply&) {
    if (request.channels != 0 && !isLoudspeakers(request.channels)) return AUDIO_BAD_VALUE;
    return change(call, [&](SourceSettings& source) { source.speakers = request.channels; });
}

std::int32_t getSpeakerOutput(Call& call, const wire::FunctionRequest&, wire::NumberReply& reply) {
    reply.value = static_cast<std::int32_t>(sourceOf(call).speakers);
    return AUDIO_NO_ERROR;
}

using Id = wire::SourceFunction;
using S = SourceSettings;
constexpr std::array OPERATIONS = {
    setting<Id::SelectSource, &selectSource>(),
    setting<Id::SetFrontState, &setNumber<&S::frontState>>(),
    setting<Id::SetRearState, &setNumber<&S::rearState>>(),
    setting<Id::SetAdcMuxPin, &setAdcMuxPin>(),
    setting<Id::GetAdcMuxPin, &getAdcMuxPin>(),
    setting<Id::SetDacMapping, &setMapping<&S::dacMapping, wire::DacMappingRequest>>(),
    setting<Id::GetDacMapping, &getMapping<&S::dacMapping, wire::DacMappingReply>>(),
    setting<Id::SetI2sMapping, &setMapping<&S::i2sMapping, wire::I2sMappingRequest>>(),
    setting<Id::GetI2sMapping, &getMapping<&S::i2sMapping, wire::I2sMappingReply>>(),
    setting<Id::SetAdcLeftRightSwitch, &setSwitch<&S::isAdcSwitched>>(),
    setting<Id::SetOutputSource, &setOutputSource>(),
    setting<Id::GetOutputSource, &getOutputSource>(),
    setting<Id::SetInputDestination, &setInputDestination>(),
    setting<Id::GetInputDestination, &getInputDestination>(),
    setting<Id::DumpOutputSources, &dumpOutputSources>(),
    setting<Id::DumpInputDestinations, &dumpInputDestinations>(),
    setting<Id::SetSpeakerPattern, &setSpeakerPattern>(),
    setting<Id::SetSpeakerTone, &setSpeakerTone>(),
    setting<Id::ConfigurePcmInterface, &configurePcmInterface>(),
    setting<Id::EnablePcmInterface, &setSwitch<&S::isPcmInterfaceEnabled>>(),
    setting<Id::SetSpeakerOutput, &setSpeakerOutput>(),
    setting<Id::GetSpeakerOutput, &getSpeakerOutput>(),
    setting<Id::GetSourceNumber, &getSourceNumber>(),
    setting<Id::SetHandsfreeDelay, &setNumber<&S::handsfreeDelay>>(),
    setting<Id::SetSampleRateCapability, &setSampleRateCapability>(),
    setting<Id::SetI2sFormat, &setI2sFormat>(),
    setting<Id::GetOutputTrackInfo, &getOutputTrackInfo>(),
    setting<Id::SetAutoRamp, &setSwitch<&S::isAutoRamped>>(),
    setting<Id::GetTrackStreamType, &getTrackStreamType>(),
    setting<Id::GetActiveTrackNames, &getActiveTrackNames>(),
    setting<Id::GetSignalEnergy, &getSignalEnergy>(),
    setting<Id::GetActiveTracks, &getActiveTracks>(),
};
static_assert(coversAll(OPERATIONS, wire::SOURCE_SETTINGS));

}  // namespace

std::span<const Operation> sourceOperations() {
    return OPERATIONS;
}

}  // namespace cabinaudio::server
