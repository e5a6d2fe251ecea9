// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/StreamGains.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/server/mix/Loudspeaker.h"
#include "devkit/server/settings/GainCurve.h"
#include "devkit/server/settings/StreamTypes.h"

#include <algorithm>
#include <functional>
#include <string>

namespace cabinaudio::server {
namespace {

constexpr float LONGEST_RAMP_MS = 60'000;

AudioTagType tagOf(const StreamRecord& stream) {
    return static_cast<AudioTagType>(stream.tag);
}

audio::audio_out_path_id_e pathOf(AudioTagType tag) {
    switch (tag) {
        case AUDIO_TAG_MAIN:
            return audio::AUDIO_OUT_PATH_MAIN;
        case AUDIO_TAG_ALTERNATIVE:
            return audio::AUDIO_OUT_PATH_ALTERNATIVE;
        case AUDIO_TAG_OUTPUT_INVOCATION:
            return audio::AUDIO_OUT_PATH_SECOND;
        default:
            return audio::AUDIO_OUT_PATH_AUXILIARY;
    }
}

float pathFactor(AudioTagType tag, const VolumeSettings& volume) {
    if (tag == AUDIO_TAG_ALTERNATIVE) return gain::factorOf(volume.alternative);
    return tag == AUDIO_TAG_OUTPUT_INVOCATION ? gain::factorOf(volume.second) : 1.0F;
}

float muteFactor(AudioTagType tag, const VolumeSettings& volume) {
    const auto path = static_cast<std::uint32_t>(pathOf(tag));
    return (volume.mutedPaths & path) != 0 ? 0.0F : 1.0F;
}

float typeFactor(const std::string& type, const VolumeSettings& volume) {
    const auto found = volume.streamTypes.find(type);
    return found != volume.streamTypes.end() ? gain::factorOf(found->second) : 1.0F;
}

void applyTrack(const StreamRecord& stream, const VolumeSettings& volume, StreamGains& gains) {
    const auto found = volume.tracks.find({AudioTypes::getTag(tagOf(stream)), stream.name});
    if (found == volume.tracks.end()) return;
    gains.common = gain::factorOf(found->second.gain);
    std::transform(found->second.channels.begin(), found->second.channels.end(),
                   gains.inputs.begin(), gain::factorOf);
}

void applyGains(const MixerSettings::Gains& mixer, StreamGains& gains) {
    for (std::size_t i = 0; i < mixer.size(); ++i)
        gains.loudspeakers[i] *= gain::factorOf(mixer[i]);
}

void applyMixer(const StreamRecord& stream, const MixerSettings& mixer, StreamGains& gains) {
    if (stream.type == NAVIGATION_TYPE) {
        if (mixer.navigationMode == 0) gains.common = 0.0F;
        applyGains(mixer.navigation, gains);
    }
    if (tagOf(stream) == AUDIO_TAG_ALTERNATIVE) applyGains(mixer.alternative, gains);
}

void applyChannels(const VolumeSettings& volume, StreamGains& gains) {
    for (std::size_t i = 0; i < volume.channels.size(); ++i)
        gains.loudspeakers[i] = gain::factorOf(volume.channels[i]);
}

void applyMask(std::uint32_t speakers, StreamGains& gains) {
    for (std::size_t i = 0; i < gains.loudspeakers.size(); ++i) {
        if ((speakers & maskOf(i)) == 0) gains.loudspeakers[i] = 0.0F;
    }
}

void multiply(const auto& factors, auto& gains) {
    std::transform(factors.begin(), factors.end(), gains.begin(), gains.begin(),
                   std::multiplies<>());
}

/// NaN gives 0 frames.
std::size_t framesOf(float ms, std::uint32_t rate) {
    if (!(ms > 0.0F)) return 0;
    return static_cast<std::size_t>(std::min(ms, LONGEST_RAMP_MS) * static_cast<float>(rate) /
                                    1000.0F);
}

}  // namespace

float StreamGains::factor(std::size_t input, std::size_t output, std::size_t outputs) const {
    const float ofInput = input < inputs.size() ? common * inputs[input] : common;
    if (outputs == 1) return ofInput * (loudspeakers[0] + loudspeakers[1]) / 2.0F;
    return output < loudspeakers.size() ? ofInput * loudspeakers[output] : ofInput;
}

StreamGains& StreamGains::operator*=(const StreamGains& other) {
    common *= other.common;
    multiply(other.inputs, inputs);
    multiply(other.loudspeakers, loudspeakers);
    isUpMixed |= other.isUpMixed;
    return *this;
}

StagedGains stagesOf(const StreamRecord& stream, const SettingsData& settings, bool isPromptHeard) {
    const AudioTagType tag = tagOf(stream);
    StagedGains stages;
    const auto at = [&stages](GainStage stage) -> StreamGains& {
        return stages[static_cast<std::size_t>(stage)];
    };
    applyTrack(stream, settings.volume, at(GainStage::Track));
    at(GainStage::Type).common = typeFactor(stream.type, settings.volume);
    at(GainStage::Path).common = pathFactor(tag, settings.volume);
    at(GainStage::Master).common = gain::factorOf(settings.volume.master);
    at(GainStage::Mute).common = muteFactor(tag, settings.volume);
    applyMixer(stream, settings.mixer, at(GainStage::Mixer));
    at(GainStage::Mixer).isUpMixed = settings.mixer.upMixMode == 1;
    if (tag == AUDIO_TAG_MAIN) {
        at(GainStage::Ducking).common = duckingOf(settings.volume, isPromptHeard);
        applyChannels(settings.volume, at(GainStage::FadeBalance));
    }
    applyMask(settings.source.speakers, at(GainStage::Loudspeakers));
    return stages;
}

StreamGains gainsOf(const StreamRecord& stream, const SettingsData& settings, bool isPromptHeard) {
    StreamGains gains;
    for (const StreamGains& stage : stagesOf(stream, settings, isPromptHeard))
        gains *= stage;
    return gains;
}

float duckingOf(const VolumeSettings& volume, bool isPromptHeard) {
    const float asked = static_cast<float>(100 - std::min(volume.duckPercent, 100U)) / 100.0F;
    if (volume.duckingMode != 1 || !isPromptHeard) return asked;
    return std::min(asked, gain::factorOf(volume.duckingTarget));
}

bool isPrompt(const StreamRecord& stream) {
    if (stream.tag == AUDIO_TAG_MAIN) return false;  // it would duck itself
    return stream.tag == AUDIO_TAG_ALTERNATIVE || stream.type == NAVIGATION_TYPE;
}

RampFrames rampOf(const SettingsData& settings, std::uint32_t rate) {
    if (!settings.source.isAutoRamped) return {};
    return {framesOf(settings.volume.rampUpMs, rate), framesOf(settings.volume.rampDownMs, rate)};
}

}  // namespace cabinaudio::server
