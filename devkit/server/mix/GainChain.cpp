// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/GainChain.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/base/Text.h"
#include "devkit/server/mix/Loudspeaker.h"
#include "devkit/server/settings/Names.h"
#include "devkit/server/settings/StreamTypes.h"
#include "devkit/server/sound/ChannelMatrix.h"
#include "devkit/text/Escape.h"

#include <algorithm>
#include <array>

namespace cabinaudio::server {
namespace {

/// The input of the descriptions below.
struct Way {
    const StreamRecord& stream;
    const SettingsData& settings;
    const StagedGains& stages;
    const std::string& prompt;

    [[nodiscard]] AudioTagType tag() const { return static_cast<AudioTagType>(stream.tag); }
    [[nodiscard]] bool isMain() const { return tag() == AUDIO_TAG_MAIN; }
    [[nodiscard]] bool isAlternative() const { return tag() == AUDIO_TAG_ALTERNATIVE; }
    [[nodiscard]] bool isSecond() const { return tag() == AUDIO_TAG_OUTPUT_INVOCATION; }
    [[nodiscard]] bool isNavigation() const { return stream.type == NAVIGATION_TYPE; }
    [[nodiscard]] const StreamGains& at(GainStage stage) const {
        return stages[static_cast<std::size_t>(stage)];
    }
};

/// A volume of its own channels is told only where the track's volume is not to blame.
GainLink trackOf(const Way& way) {
    if (way.isSecond()) return {"track", 1.0F, false, "", ""};
    const std::string name = text::escaped(way.stream.name);
    const StreamGains& gains = way.at(GainStage::Track);
    const bool isByChannel =
        gains.common == 1.0F && std::any_of(gains.inputs.begin(), gains.inputs.end(),
                                            [](float factor) { return factor != 1.0F; });
    if (isByChannel) return {"track", 1.0F, false, "track.auxiliary." + name + ".channels", ""};
    return {"track", 1.0F, false, "volume.track." + AudioTypes::getTag(way.tag()) + "." + name, ""};
}

GainLink typeOf(const Way& way) {
    return {"type", 1.0F, false, "volume.type." + way.stream.type, ""};
}

GainLink pathOf(const Way& way) {
    const char* const name = way.isSecond() ? "second" : "alternative";
    return {name, 1.0F, false, std::string("volume.") + name, ""};
}

GainLink masterOf(const Way&) {
    return {"master", 1.0F, false, "volume.master", ""};
}

GainLink muteOf(const Way& way) {
    const std::string path = way.isMain()          ? "main"
                             : way.isAlternative() ? "alternative"
                             : way.isSecond()      ? "second"
                                                   : "auxiliary";
    const bool isMuted = way.at(GainStage::Mute).common == 0.0F;
    return {"mute", 1.0F, isMuted, "mute." + path, isMuted ? "path " + path : ""};
}

GainLink mixerOf(const Way& way) {
    const auto isLossless = [](const MixerSettings::Gains& gains) {
        return std::all_of(gains.begin(), gains.end(), [](float dB) { return dB == 0.0F; });
    };
    if (way.at(GainStage::Mixer).common == 0.0F)
        return {"mixer", 1.0F, true, "mixer.navigation.mode", "navigation is off"};
    const bool isOfNavigation =
        way.isNavigation() && (!way.isAlternative() || !isLossless(way.settings.mixer.navigation));
    return {"mixer", 1.0F, false, isOfNavigation ? "mixer.navigation" : "mixer.alternative", ""};
}

/// The lower one of both reasons acts.
GainLink duckingLink(const Way& way) {
    const VolumeSettings& volume = way.settings.volume;
    const bool isByPrompt =
        !way.prompt.empty() && duckingOf(volume, true) < duckingOf(volume, false);
    if (isByPrompt) return {"ducking", 1.0F, false, "ducking.target", way.prompt};
    const std::string cause =
        volume.duckPercent > 0 ? format("duck %u %%", volume.duckPercent) : "";
    return {"ducking", 1.0F, false, "duck", cause};
}

GainLink fadeBalanceOf(const Way& way) {
    const auto& channels = way.settings.volume.channels;  // LF, RF, LS, RS ...
    const bool isBySide =
        channels[0] == channels[2] && channels[1] == channels[3] && channels[0] != channels[1];
    return {"fade_balance", 1.0F, false, isBySide ? "balance" : "fade", ""};
}

GainLink loudspeakersOf(const Way& way) {
    const std::uint32_t off = ALL_LOUDSPEAKERS & ~way.settings.source.speakers;
    return {"loudspeakers", 1.0F, false, "speaker.output",
            off != 0 ? loudspeakerNames(off) + " off" : ""};
}

struct Stage {
    GainStage stage;
    GainLink (*describe)(const Way& way);
    bool (*canAct)(const Way& way);
};

bool always(const Way&) {
    return true;
}

constexpr std::array<Stage, GAIN_STAGES> STAGES = {{
    {GainStage::Track, trackOf, always},
    {GainStage::Type, typeOf, always},
    {GainStage::Path, pathOf, [](const Way& w) { return w.isAlternative() || w.isSecond(); }},
    {GainStage::Master, masterOf, always},
    {GainStage::Mute, muteOf, always},
    {GainStage::Mixer, mixerOf, [](const Way& w) { return w.isNavigation() || w.isAlternative(); }},
    {GainStage::Ducking, duckingLink, [](const Way& w) { return w.isMain(); }},
    {GainStage::FadeBalance, fadeBalanceOf, [](const Way& w) { return w.isMain(); }},
    {GainStage::Loudspeakers, loudspeakersOf, always},
}};

/// Factor of the loudest way from a channel of the stream to one of the output.
class Loudest {
public:
    Loudest(std::size_t inputs, std::size_t outputs, bool isUpMixed)
        : mInputs(inputs), mOutputs(outputs), mRoute(inputs, outputs, isUpMixed) {}

    [[nodiscard]] float operator()(const StreamGains& gains) const {
        float loudest = 0.0F;
        for (std::size_t input = 0; input < mInputs; ++input) {
            for (std::size_t output = 0; output < mOutputs; ++output)
                loudest = std::max(
                    loudest, mRoute.factor(input, output) * gains.factor(input, output, mOutputs));
        }
        return loudest;
    }

private:
    std::size_t mInputs;
    std::size_t mOutputs;
    ChannelMatrix mRoute;
};

}  // namespace

std::vector<GainLink> gainChainOf(const StreamRecord& stream, const SettingsData& settings,
                                  std::size_t outputs, const std::string& prompt) {
    const StagedGains stages = stagesOf(stream, settings, !prompt.empty());
    const Way way = {stream, settings, stages, prompt};
    const Loudest loudest(stream.format.channels, outputs, settings.mixer.upMixMode == 1);
    const float unity = loudest(StreamGains());
    std::vector<GainLink> chain;
    StreamGains soFar;
    float before = unity;
    for (const Stage& stage : STAGES) {
        soFar *= way.at(stage.stage);
        const float after = loudest(soFar);
        if (!stage.canAct(way)) continue;
        GainLink link = stage.describe(way);
        link.factor = before > 0.0F ? after / before : loudest(way.at(stage.stage)) / unity;
        if (stage.stage == GainStage::Loudspeakers) link.isMuted = link.factor == 0.0F;
        chain.push_back(std::move(link));
        before = after;
    }
    return chain;
}

}  // namespace cabinaudio::server
