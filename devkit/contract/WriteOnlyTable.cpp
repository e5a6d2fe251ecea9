// SPDX-License-Identifier: Apache-2.0
// Settings that cannot be read, with the values that the development server has at first.
#include "devkit/contract/SettingValues.h"
#include "devkit/contract/Settings.h"

namespace cabinaudio::contract {

namespace {

void addWriteOnlyVolumes(std::vector<WriteOnly>& all) {
    const auto add = [&](const char* name, Volume setter, const Bytes& value) {
        all.push_back({name, VOLUME, join(idOf(setter), value)});
    };
    add("ducking.mode", Volume::SetDuckingMode, number(0));
    add("ducking.target.step", Volume::SetDuckingTargetStep, step(60));
    add("ducking.target.gain", Volume::SetDuckingTargetGain, join(-20.0F));
    add("duck", Volume::Duck, number(0));
    add("unduck", Volume::Unduck, {});
    add("track.channels", Volume::SetTrackChannelGains, join(ownTrack(), Bytes(32)));
}

void addWriteOnlyMixes(std::vector<WriteOnly>& all) {
    const auto add = [&](const char* name, Mixer setter, const Bytes& value) {
        all.push_back({name, MIXER, join(idOf(setter), value)});
    };
    const Bytes fullSteps = join(std::uint32_t{0}, std::uint32_t{0x64646464});
    const Bytes fullGains(20);
    add("navigation.mode", Mixer::MixExtGps, number(1));
    add("navigation.step", Mixer::SetGpsGain, fullSteps);
    add("navigation.gain", Mixer::SetGpsMatrix, fullGains);
    add("alternative.step", Mixer::SetAlternativeGain, fullSteps);
    add("alternative.gain", Mixer::SetAlternativeMatrix, fullGains);
    add("hardware_mix", Mixer::MixAlternativeInHardware, join(1, 0));
}

void addWriteOnlySources(std::vector<WriteOnly>& all) {
    const auto add = [&](const char* name, Source setter, const Bytes& value, bool hasFlag = true) {
        all.push_back({name, SOURCE, join(idOf(setter), value), hasFlag});
    };
    add("seat_source", Source::SelectSource, join(0, 0));
    add("front_state", Source::SetFrontState, number(0));
    add("rear_state", Source::SetRearState, number(0));
    add("input_switch", Source::SetAdcLeftRightSwitch, number(0), NO_FLAG);
    add("dump_sources", Source::DumpOutputSources, name64("main"));
    add("dump_destinations", Source::DumpInputDestinations, name64("uplink"));
    add("speaker_pattern", Source::SetSpeakerPattern, join(FRONT_LEFT, 0), NO_FLAG);
    // For no loudspeaker: nothing is heard.
    add("speaker_tone", Source::SetSpeakerTone, join(std::uint32_t{0}, 1000), NO_FLAG);
    add("pcm_interface", Source::ConfigurePcmInterface, Bytes(20));
    add("pcm_interface.enabled", Source::EnablePcmInterface, number(0), NO_FLAG);
    add("handsfree_delay", Source::SetHandsfreeDelay, number(0), NO_FLAG);
    add("sample_rates", Source::SetSampleRateCapability, number(0), NO_FLAG);
    add("i2s_format", Source::SetI2sFormat, Bytes(12));
    add("auto_ramp", Source::SetAutoRamp, number(1), NO_FLAG);
}

void addWriteOnlyApps(std::vector<WriteOnly>& all) {
    const auto add = [&](const char* name, App setter, const Bytes& value) {
        all.push_back({name, APP, join(idOf(setter), value)});
    };
    add("bypass.on", App::EnableBypass, {});
    add("bypass.off", App::DisableBypass, {});
    add("delay_estimation", App::SetDelayEstimation, {});
    add("dac_gain", App::SetDacGain, number(0));
    add("reverb_mode", App::SetReverbMode, number(0));
}

}  // namespace

const std::vector<WriteOnly>& writeOnlySettings() {
    static const std::vector<WriteOnly> settings = [] {
        std::vector<WriteOnly> all;
        addWriteOnlyVolumes(all);
        addWriteOnlyMixes(all);
        addWriteOnlySources(all);
        addWriteOnlyApps(all);
        return all;
    }();
    return settings;
}

}  // namespace cabinaudio::contract
