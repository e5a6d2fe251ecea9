// SPDX-License-Identifier: Apache-2.0
// Values that a server must refuse.
#include "devkit/contract/SettingValues.h"
#include "devkit/contract/Settings.h"

#include <limits>

namespace cabinaudio::contract {

namespace {

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

void refuse(std::vector<Refused>& all, const char* name, audio_connect_type type,
            std::uint32_t setter, const Bytes& arguments, const char* value,
            const char* readable = "", bool hasFlag = true) {
    all.push_back({name, type, join(setter, arguments), value, readable, hasFlag});
}

void addRefusedVolumes(std::vector<Refused>& all) {
    const auto steps = [&](const char* name, Volume setter, const Bytes& key = {}) {
        refuse(all, name, VOLUME, idOf(setter), join(key, step(200)), "step 200", name);
    };
    const auto gains = [&](const char* name, Volume setter, const Bytes& key = {}) {
        refuse(all, name, VOLUME, idOf(setter), join(key, 99.0F), "99 dB", name);
    };
    steps("volume.master.step", Volume::SetMasterStep);
    gains("volume.master.gain", Volume::SetMasterGain);
    steps("volume.second.step", Volume::SetSecondStep);
    gains("volume.second.gain", Volume::SetSecondGain);
    steps("volume.alternative.step", Volume::SetAlternativeStep);
    gains("volume.alternative.gain", Volume::SetAlternativeGain);
    steps("volume.track.step", Volume::SetTrackStep, ownTrack());
    gains("volume.track.gain", Volume::SetTrackGain, ownTrack());
    steps("volume.type.step", Volume::SetStreamTypeStep, name64("media"));
    gains("volume.type.gain", Volume::SetStreamTypeGain, name64("media"));
    steps("volume.channel.step", Volume::SetChannelStep, join(FRONT_LEFT));
    gains("volume.channel.gain", Volume::SetChannelGain, join(FRONT_LEFT));
    refuse(all, "volume.uplink", VOLUME, idOf(Volume::SetUpLinkGain), join(NOT_A_NUMBER),
           "a gain that is no number", "volume.uplink");
    refuse(all, "volume.master.ramp", VOLUME, idOf(Volume::SetMasterRamp), join(-1.0F, -1.0F),
           "a ramp of -1 ms", "volume.master.ramp");
}

/// Entries of a mapping.
Bytes beyondTen(int count) {
    Bytes bytes;
    for (int i = 0; i < count; ++i)
        append(bytes, std::int32_t{11});
    return bytes;
}

void addRefusedOthers(std::vector<Refused>& all) {
    constexpr std::uint32_t NO_INPUT = 99;
    const Bytes noInput = join(NO_INPUT, 0.0F, 0.0F);
    refuse(all, "input.pga", VOLUME, idOf(Volume::SetAdcPgaGain), noInput, "input 99");
    refuse(all, "input.op", VOLUME, idOf(Volume::SetAdcOpGain), noInput, "input 99");
    constexpr std::uint32_t NO_PATH = 0x8000;
    refuse(all, "mute", VOLUME, idOf(Volume::Mute), join(NO_PATH, std::uint32_t{0}), "path 0x8000");
    refuse(all, "duck", VOLUME, idOf(Volume::Duck), number(101), "101 %");
    refuse(all, "type", VOLUME, idOf(Volume::SetStreamTypeGain), join(name64("no such"), -6.0F),
           "an unknown stream type");
    refuse(all, "source.speakers", SOURCE, idOf(Source::SetSpeakerOutput),
           join(std::uint32_t{0x10000}), "loudspeaker 0x10000", "source.speakers", NO_FLAG);
    refuse(all, "source.dac_mapping", SOURCE, idOf(Source::SetDacMapping), beyondTen(6),
           "a mapping beyond 10", "source.dac_mapping");
    refuse(all, "source.i2s_mapping", SOURCE, idOf(Source::SetI2sMapping), beyondTen(8),
           "a mapping beyond 10", "source.i2s_mapping");
    refuse(all, "speaker_delay", APP, idOf(App::SetSpeakerDelay), join(FRONT_LEFT, -1),
           "a delay of -1 us");
    refuse(all, "effect.tag", APP, idOf(App::SetEffectEnabled),
           join(name64("no such"), name64(OWN_NAME), step(1)), "an unknown tag");
}

}  // namespace

const std::vector<Refused>& refusedValues() {
    static const std::vector<Refused> values = [] {
        std::vector<Refused> all;
        addRefusedVolumes(all);
        addRefusedOthers(all);
        return all;
    }();
    return values;
}

}  // namespace cabinaudio::contract
