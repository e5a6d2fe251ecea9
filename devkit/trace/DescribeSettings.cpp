// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/DescribeSettings.h"

#include "devkit/text/Format.h"
#include "devkit/text/Printable.h"
#include "devkit/trace/Names.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

namespace cabinaudio::trace {
namespace {

std::string plain(const wire::Name& name) {
    return text::printableInQuotes(textOf(name));
}

std::string quoted(const wire::Name& name) {
    return text::inQuotes(textOf(name));
}

std::string named(const wire::Name& tag, const wire::Name& name) {
    return plain(tag) + " " + quoted(name);
}

std::string step(std::uint8_t value) {
    return text::format("step %u", unsigned{value});
}

std::string dB(float value) {
    return text::format("%g dB", static_cast<double>(value));
}

std::string ms(float value) {
    return text::format("%g ms", static_cast<double>(value));
}

std::string onOff(bool isOn) {
    return isOn ? "on" : "off";
}

std::string word(std::uint32_t value) {
    return text::format("%u", value);
}

std::string number(std::int32_t value) {
    return text::format("%d", value);
}

template <typename Items, typename Describe>
std::string joined(const Items& items, std::size_t count, Describe describe,
                   const char* separator = " ") {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : separator) + describe(items[i]);
    return text;
}

template <typename Items, typename Describe>
std::string joined(const Items& items, Describe describe) {
    return joined(items, std::size(items), describe);
}

/// A foreign count may be wrong.
template <typename List, typename Describe>
std::string listed(const List& list, Describe describe) {
    const auto count = static_cast<std::size_t>(std::max(list.count, 0));
    return joined(list.slots, std::min(count, std::size(list.slots)), describe, ", ");
}

std::string record(std::uint32_t selector, std::size_t size) {
    return text::format("selector %u, %zu bytes", selector, size);
}

}  // namespace

// ---- Requests -----------------------------------------------------------------------------------

std::string describe(const wire::NumberRequest& request) {
    return number(request.value);
}

std::string describe(const wire::TwoNumbersRequest& request) {
    return text::format("%d, %d", request.first, request.second);
}

std::string describe(const wire::ChannelRequest& request) {
    return loudspeakerNames(request.channels);
}

std::string describe(const wire::ChannelNumberRequest& request) {
    return loudspeakerNames(request.channels) + ", " + number(request.value);
}

std::string describe(const wire::PathRequest& request) {
    return pathNames(request.path);
}

std::string describe(const wire::MuteRequest& request) {
    return pathNames(request.paths) + ", option " + number(request.option);
}

std::string describe(const wire::StepRequest& request) {
    return step(request.step);
}

std::string describe(const wire::GainRequest& request) {
    return dB(request.gain);
}

std::string describe(const wire::RampRequest& request) {
    return "up " + ms(request.up) + ", down " + ms(request.down);
}

std::string describe(const wire::ChannelStepRequest& request) {
    return loudspeakerNames(request.value.channel) + ", " + step(request.value.volume);
}

std::string describe(const wire::ChannelGainRequest& request) {
    return loudspeakerNames(request.channel) + ", " + dB(request.gain);
}

std::string describe(const wire::InputGainRequest& request) {
    return text::format("input %u, ", request.input) + dB(request.left) + ", " + dB(request.right);
}

std::string describe(const wire::NameRequest& request) {
    return plain(request.name);
}

std::string describe(const wire::NameStepRequest& request) {
    return plain(request.name) + ", " + step(request.step);
}

std::string describe(const wire::NameGainRequest& request) {
    return plain(request.name) + ", " + dB(request.gain);
}

std::string describe(const wire::TwoNamesRequest& request) {
    return named(request.tag, request.name);
}

std::string describe(const wire::TrackStepRequest& request) {
    return named(request.tag, request.name) + ", " + step(request.step);
}

std::string describe(const wire::TrackGainRequest& request) {
    return named(request.tag, request.name) + ", " + dB(request.gain);
}

std::string describe(const wire::TrackChannelsRequest& request) {
    return named(request.tag, request.name) + ", " + joined(request.gains, dB);
}

std::string describe(const wire::MixerStepsRequest& request) {
    return joined(request.value.gain, step);
}

std::string describe(const wire::MixerGainsRequest& request) {
    return joined(request.value.gain, dB);
}

std::string describe(const wire::DacMappingRequest& request) {
    return joined(request.value.entry, number);
}

std::string describe(const wire::I2sMappingRequest& request) {
    return joined(request.value.entry, number);
}

std::string describe(const wire::PcmInterfaceRequest& request) {
    return joined(request.value.opaque0, word);
}

std::string describe(const wire::I2sFormatRequest& request) {
    return text::format("selection %u, %u, %u", request.selection, request.first,
                        unsigned{request.second});
}

std::string describe(const wire::EqualizerRequest& request) {
    return record(request.value.selector, sizeof request.value);
}

std::string describe(const wire::NonLinearRequest& request) {
    return record(request.value.selector, sizeof request.value);
}

std::string describe(const wire::HandsfreeEqualizerRequest& request) {
    return record(request.value.selector, sizeof request.value);
}

std::string describe(const wire::EffectSwitchRequest& request) {
    return named(request.tag, request.effect) + ", " + onOff(request.isOn != 0);
}

std::string describe(const wire::EffectRequest& request) {
    return named(request.tag, request.effect) + text::format(", %u bytes", request.size);
}

// ---- Replies ------------------------------------------------------------------------------------

std::string describe(const wire::NumberReply& reply) {
    return number(reply.value);
}

std::string describe(const wire::StepReply& reply) {
    return step(reply.step);
}

std::string describe(const wire::SwitchReply& reply) {
    return onOff(reply.isOn != 0);
}

std::string describe(const wire::GainReply& reply) {
    return dB(reply.gain);
}

std::string describe(const wire::DelayReply& reply) {
    return ms(reply.delay);
}

std::string describe(const wire::RampReply& reply) {
    return "up " + ms(reply.up) + ", down " + ms(reply.down);
}

std::string describe(const wire::ChannelStepReply& reply) {
    return step(reply.value.volume);
}

std::string describe(const wire::ChannelGainReply& reply) {
    return dB(reply.gain);
}

std::string describe(const wire::InputGainReply& reply) {
    return dB(reply.left) + ", " + dB(reply.right);
}

std::string describe(const wire::CalibrationReply& reply) {
    switch (static_cast<wire::CalibrationResult>(reply.result)) {
        case wire::CalibrationResult::Done:
            return "done, " + dB(reply.gain);
        case wire::CalibrationResult::Running:
            return "running";
        default:
            return "none";
    }
}

std::string describe(const wire::NameReply& reply) {
    return quoted(reply.name);
}

std::string describe(const wire::NamesReply& reply) {
    return listed(reply.list, quoted);
}

std::string describe(const wire::TracksReply& reply) {
    return listed(reply.list,
                  [](const wire::TrackInfo& track) { return named(track.tag, track.name); });
}

std::string describe(const wire::OutputTracksReply& reply) {
    return listed(reply.list, [](const wire::OutputTrack& track) {
        const std::string_view name(track.name, strnlen(track.name, sizeof track.name));
        return text::inQuotes(name) + (track.isActive != 0 ? " active" : " idle");
    });
}

std::string describe(const wire::LevelsReply& reply) {
    return joined(reply.levels, word) + " millionths";
}

std::string describe(const wire::LevelReply& reply) {
    return word(reply.level) + " millionths";
}

std::string describe(const wire::DacMappingReply& reply) {
    return joined(reply.value.entry, number);
}

std::string describe(const wire::I2sMappingReply& reply) {
    return joined(reply.value.entry, number);
}

std::string describe(const wire::EqualizerReply& reply) {
    return record(reply.value.selector, sizeof reply.value);
}

std::string describe(const wire::NonLinearReply& reply) {
    return record(reply.value.selector, sizeof reply.value);
}

std::string describe(const wire::HandsfreeEqualizerReply& reply) {
    return record(reply.value.selector, sizeof reply.value);
}

std::string describe(const wire::EffectReply& reply) {
    return text::format("%u bytes", reply.size);
}

}  // namespace cabinaudio::trace
