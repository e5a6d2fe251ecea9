// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/taps/Taps.h"

#include "devkit/server/base/Text.h"
#include "devkit/server/mix/Loudspeaker.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace cabinaudio::server {
namespace {

/// Removes the first word. @return it, empty at the end
std::string takeWord(std::string& text) {
    const std::size_t blank = text.find(' ');
    std::string word = text.substr(0, blank);
    text.erase(0, blank == std::string::npos ? blank : blank + 1);
    return word;
}

/// Listeners get whole numbers, which every sound file can hold.
SampleType numberType(SampleType type) {
    return type == SampleType::Float ? SampleType::S32 : type;
}

/// @return LOUDSPEAKERS if there is no such loudspeaker
std::size_t loudspeakerNumber(const std::string& text) {
    std::size_t loudspeaker = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, loudspeaker);
    const bool isNumber = error == std::errc() && rest == end;
    return isNumber ? std::min(loudspeaker, LOUDSPEAKERS) : LOUDSPEAKERS;
}

/// The channel of the output that feeds the loudspeaker; empty if none does.
std::optional<std::size_t> channelOf(std::size_t loudspeaker, std::size_t channels) {
    if (loudspeaker == LOUDSPEAKERS) return {};
    for (std::size_t channel = 0; channel < channels; ++channel)
        if ((maskOf(channel, channels) & maskOf(loudspeaker)) != 0) return channel;
    return {};
}

}  // namespace

Taps::Taps(EventLoop& loop, const StreamRegistry& streams, const OutputFormat& format,
           std::size_t bound, std::function<void()> onClosed)
    : mLoop(loop),
      mStreams(streams),
      mFormat(format),
      mBound(bound),
      mOnClosed(std::move(onClosed)) {}

std::string Taps::faultOf(const std::string& argument) const {
    if (mTaps.size() == MAXIMUM) return format("there are %zu listeners already", MAXIMUM);
    const auto parsed = parse(argument);
    const auto* const fault = std::get_if<std::string>(&parsed);
    return fault != nullptr ? *fault : "";
}

bool Taps::add(const std::string& argument, UniqueFd& socket, Admitted& admitted) {
    if (!faultOf(argument).empty()) return false;
    const auto wanted = std::get<Tap::Wanted>(parse(argument));
    mTaps.push_back(std::make_unique<Tap>(mLoop, std::move(socket), std::move(admitted), wanted,
                                          mBound,
                                          [this] { mLoop.post([this] { removeGone(); }); }));
    mTaps.back()->answer(answerTo(wanted));
    followStream(*mTaps.back());
    return true;
}

std::variant<Tap::Wanted, std::string> Taps::parse(const std::string& argument) const {
    Tap::Wanted wanted;
    std::string rest = argument;
    const std::string type = takeWord(rest);
    const std::string loudspeaker = takeWord(rest);
    if (loudspeaker.empty()) return "listen FORMAT LOUDSPEAKER [STREAM]";
    const std::optional<SampleType> sampleType =
        type == "-" ? numberType(mFormat.type) : sampleTypeOf(type);
    if (!sampleType || *sampleType == SampleType::Float)
        return "no such format: " + printable(type);
    wanted.type = *sampleType;
    if (loudspeaker != "-") {
        wanted.loudspeaker = loudspeakerNumber(loudspeaker);
        wanted.channel = channelOf(wanted.loudspeaker, mFormat.channels);
        if (!wanted.channel)
            return "the output has no loudspeaker " + printable(loudspeaker) +
                   format("; it has %u channel%s", mFormat.channels,
                          mFormat.channels == 1 ? "" : "s");
    }
    wanted.stream = std::move(rest);
    return wanted;
}

std::string Taps::answerTo(const Tap::Wanted& wanted) const {
    return format(R"({"rate_hz":%u,"channels":%u,"format":"%s"})", mFormat.rate,
                  wanted.channel ? 1 : mFormat.channels, nameOf(wanted.type));
}

nlohmann::json Taps::describe() const {
    auto result = nlohmann::json::array();
    for (const auto& tap : mTaps) {
        const auto& [type, loudspeaker, channel, stream] = tap->wanted();
        result.push_back({{"stream", stream.empty() ? nlohmann::json() : nlohmann::json(stream)},
                          {"loudspeaker", channel ? nlohmann::json(loudspeaker) : nlohmann::json()},
                          {"format", nameOf(type)},
                          {"queued_bytes", tap->queuedBytes()},
                          {"lost_frames", tap->lostFrames()}});
    }
    return result;
}

void Taps::mixed(std::span<const float> mix) {
    for (const auto& tap : mTaps) {
        if (tap->wanted().stream.empty())
            tap->add(mix, mFormat.channels);
        else if (tap->source() != nullptr)
            addShare(*tap, mix.size());
    }
}

/// The stream has added fewer frames than the mix has when its data ran out.
void Taps::addShare(Tap& tap, std::size_t samples) {
    const std::span<const float> share = tap.source()->share();
    mShare.assign(share.begin(), share.end());
    mShare.resize(samples, 0.0F);
    tap.add(mShare, mFormat.channels);
}

void Taps::streamsChanged() {
    for (const auto& tap : mTaps)
        if (!tap->isGone()) followStream(*tap);
}

void Taps::followStream(Tap& tap) {
    if (tap.wanted().stream.empty() || tap.isFinished()) return;
    if (tap.source() == nullptr) {
        PlaybackStream* const found = mStreams.find(tap.wanted().stream);
        if (found == nullptr) return;
        found->keepShare();
        tap.begin(*found);
        return;
    }
    const auto& streams = mStreams.streams();
    const bool isThere = std::any_of(streams.begin(), streams.end(), [&](const auto& stream) {
        return stream.get() == tap.source();
    });
    if (!isThere) tap.finish(TapRecord::StreamEnded);
}

void Taps::end() {
    std::vector<Outflow*> outflows;
    for (const auto& tap : mTaps) {
        tap->finish(TapRecord::ServerEnded);
        outflows.push_back(&tap->outflow());
    }
    Outflow::drain(outflows);
    mTaps.clear();
}

void Taps::removeGone() {
    std::erase_if(mTaps, [](const auto& tap) { return tap->isGone(); });
    mOnClosed();
}

}  // namespace cabinaudio::server
