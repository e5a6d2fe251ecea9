// SPDX-License-Identifier: Apache-2.0
// Settings that can be read: keys, place of the value in a reply, and two allowed values.
#include "devkit/contract/SettingValues.h"
#include "devkit/contract/Settings.h"

namespace cabinaudio::contract {

namespace {

// Behind the status, and behind a word that repeats the selector.
constexpr std::size_t FIRST = 4;
constexpr std::size_t SECOND = 8;

constexpr float LOUD = -6.0F;  // dB
constexpr float SOFT = -12.0F;

/// A block of an effect: size and bytes.
constexpr std::uint32_t BLOCK = 16;

Bytes block(std::uint8_t first) {
    return join(BLOCK, pattern(BLOCK, first));
}

void addVolumes(std::vector<Readable>& all) {
    const auto steps = [&](const char* name, Volume setter, Volume getter, const Bytes& key = {}) {
        all.push_back(
            {name, VOLUME, idOf(setter), idOf(getter), key, key, FIRST, step(70), step(60)});
    };
    const auto gains = [&](const char* name, Volume setter, Volume getter, const Bytes& key = {}) {
        all.push_back(
            {name, VOLUME, idOf(setter), idOf(getter), key, key, FIRST, join(LOUD), join(SOFT)});
    };
    steps("volume.master.step", Volume::SetMasterStep, Volume::GetMasterStep);
    gains("volume.master.gain", Volume::SetMasterGain, Volume::GetMasterGain);
    steps("volume.second.step", Volume::SetSecondStep, Volume::GetSecondStep);
    gains("volume.second.gain", Volume::SetSecondGain, Volume::GetSecondGain);
    steps("volume.alternative.step", Volume::SetAlternativeStep, Volume::GetAlternativeStep);
    gains("volume.alternative.gain", Volume::SetAlternativeGain, Volume::GetAlternativeGain);
    steps("volume.track.step", Volume::SetTrackStep, Volume::GetTrackStep, ownTrack());
    gains("volume.track.gain", Volume::SetTrackGain, Volume::GetTrackGain, ownTrack());
    steps("volume.type.step", Volume::SetStreamTypeStep, Volume::GetStreamTypeStep,
          name64("media"));
    gains("volume.type.gain", Volume::SetStreamTypeGain, Volume::GetStreamTypeGain,
          name64("media"));
    gains("volume.uplink", Volume::SetUpLinkGain, Volume::GetUpLinkGain);
    all.push_back({"volume.channel.step", VOLUME, idOf(Volume::SetChannelStep),
                   idOf(Volume::GetChannelStep), join(FRONT_LEFT), join(FRONT_LEFT), SECOND,
                   step(70), step(60)});
    all.push_back({"volume.channel.gain", VOLUME, idOf(Volume::SetChannelGain),
                   idOf(Volume::GetChannelGain), join(FRONT_LEFT), join(FRONT_LEFT), SECOND,
                   join(LOUD), join(SOFT)});
}

void addInputs(std::vector<Readable>& all) {
    const Bytes input = join(std::uint32_t{0});
    const Bytes loud = join(LOUD, SOFT);
    const Bytes soft = join(SOFT, LOUD);
    all.push_back({"input.pga", VOLUME, idOf(Volume::SetAdcPgaGain), idOf(Volume::GetAdcPgaGain),
                   input, input, FIRST, loud, soft});
    all.push_back({"input.op", VOLUME, idOf(Volume::SetAdcOpGain), idOf(Volume::GetAdcOpGain),
                   input, input, FIRST, loud, soft});
    all.push_back({"volume.master.ramp",
                   VOLUME,
                   idOf(Volume::SetMasterRamp),
                   idOf(Volume::GetMasterRamp),
                   {},
                   {},
                   FIRST,
                   join(50.0F, 40.0F),
                   join(30.0F, 25.0F)});
    all.push_back({"input.pin", SOURCE, idOf(Source::SetAdcMuxPin), idOf(Source::GetAdcMuxPin),
                   input, input, FIRST, number(1), number(0)});
}

void addSources(std::vector<Readable>& all) {
    const Bytes uplink = name64("uplink");
    const Bytes alternative = name64("alternative");
    all.push_back({"source.output", SOURCE, idOf(Source::SetOutputSource),
                   idOf(Source::GetOutputSource), alternative, alternative, FIRST, name64(OWN_NAME),
                   name64("contract-2")});
    all.push_back({"source.destination", SOURCE, idOf(Source::SetInputDestination),
                   idOf(Source::GetInputDestination), uplink, uplink, FIRST, name64(OWN_NAME),
                   name64("contract-2")});
    constexpr std::int32_t UP[] = {0, 1, 2, 3, 4, 5, 6, 7};
    constexpr std::int32_t DOWN[] = {7, 6, 5, 4, 3, 2, 1, 0};
    const Bytes up = join(UP);
    const Bytes down = join(DOWN);
    constexpr auto SIX = static_cast<std::ptrdiff_t>(6 * sizeof(std::int32_t));
    all.push_back({"source.dac_mapping",
                   SOURCE,
                   idOf(Source::SetDacMapping),
                   idOf(Source::GetDacMapping),
                   {},
                   {},
                   FIRST,
                   {down.begin(), down.begin() + SIX},
                   {up.begin(), up.begin() + SIX}});
    all.push_back({"source.i2s_mapping",
                   SOURCE,
                   idOf(Source::SetI2sMapping),
                   idOf(Source::GetI2sMapping),
                   {},
                   {},
                   FIRST,
                   down,
                   up});
    all.push_back({"source.speakers",
                   SOURCE,
                   idOf(Source::SetSpeakerOutput),
                   idOf(Source::GetSpeakerOutput),
                   {},
                   {},
                   FIRST,
                   number(3),
                   number(15),
                   NO_FLAG});
}

void addCalls(std::vector<Readable>& all) {
    const Bytes selector = join(std::uint32_t{0});
    all.push_back({"call.echo_quality",
                   APP,
                   idOf(App::SetEchoQuality),
                   idOf(App::GetEchoQuality),
                   {},
                   {},
                   FIRST,
                   number(1),
                   number(2)});
    all.push_back({"call.duplex",
                   APP,
                   idOf(App::SetDuplex),
                   idOf(App::GetDuplex),
                   {},
                   {},
                   FIRST,
                   number(1),
                   number(2),
                   NO_FLAG});
    all.push_back({"call.noise_reduction",
                   APP,
                   idOf(App::SetNoiseReduction),
                   idOf(App::GetNoiseReduction),
                   {},
                   {},
                   FIRST,
                   number(1),
                   number(2),
                   NO_FLAG});
    all.push_back({"call.non_linear", APP, idOf(App::SetNonLinear), idOf(App::GetNonLinear),
                   selector, selector, SECOND, pattern(12, 1), pattern(12, 2)});
    all.push_back({"call.equalizer", APP, idOf(App::SetHandsfreeEqualizer),
                   idOf(App::GetHandsfreeEqualizer), selector, selector, SECOND, pattern(100, 1),
                   pattern(100, 2)});
    all.push_back({"equalizer", APP, idOf(App::SetEqualizer), idOf(App::GetEqualizer), selector,
                   selector, SECOND, pattern(560, 1), pattern(560, 2)});
    all.push_back({"up_mix",
                   MIXER,
                   idOf(Mixer::SetUpMixMode),
                   idOf(Mixer::GetUpMixMode),
                   {},
                   {},
                   FIRST,
                   number(1),
                   number(0)});
}

void addEffects(std::vector<Readable>& all) {
    const Bytes effect = ownTrack();
    const Bytes room = block(0);
    all.push_back({"effect.enabled", APP, idOf(App::SetEffectEnabled), idOf(App::GetEffectEnabled),
                   effect, effect, FIRST, step(1), step(0)});
    all.push_back({"effect.parameter", APP, idOf(App::SetEffectParameter),
                   idOf(App::GetEffectParameter), effect, join(effect, room), FIRST, block(1),
                   block(2)});
    const Bytes capture = join(name64("input0"), name64(OWN_NAME));
    all.push_back({"effect.capture", RECORD, idOf(Record::Set), idOf(Record::Get), capture,
                   join(capture, room), FIRST, block(1), block(2)});
}

}  // namespace

const std::vector<Readable>& readableSettings() {
    static const std::vector<Readable> settings = [] {
        std::vector<Readable> all;
        addVolumes(all);
        addInputs(all);
        addSources(all);
        addCalls(all);
        addEffects(all);
        return all;
    }();
    return settings;
}

}  // namespace cabinaudio::contract
