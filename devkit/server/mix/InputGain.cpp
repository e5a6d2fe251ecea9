// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/InputGain.h"

#include "devkit/server/settings/GainCurve.h"

namespace cabinaudio::server {
namespace {

/// Null for tags that no microphone input feeds.
const VolumeSettings::Input* amplifiersOf(AudioTagType tag, const VolumeSettings& volume) {
    switch (tag) {
        case AUDIO_TAG_UPLINK:
        case AUDIO_TAG_INPUT0:
            return &volume.inputs.front();
        case AUDIO_TAG_INPUT1:
            return &volume.inputs.back();
        default:
            return nullptr;
    }
}

}  // namespace

float inputGainOf(AudioTagType tag, std::size_t channel, const VolumeSettings& volume) {
    const VolumeSettings::Input* const input = amplifiersOf(tag, volume);
    if (input == nullptr) return 1.0F;
    const std::size_t side = channel % input->pga.size();
    const float amplified = gain::factorOf(input->op[side]) * gain::factorOf(input->pga[side]);
    return tag == AUDIO_TAG_UPLINK ? amplified * gain::factorOf(volume.uplink) : amplified;
}

}  // namespace cabinaudio::server
