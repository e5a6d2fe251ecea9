// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/Controls.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/alsa/FadeBalance.h"

#include <alsa/asoundlib.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>

namespace cabinaudio::alsa {

namespace {

constexpr long MOST_STEPS = 148;
constexpr float UNITY_STEP = 100.0F;
constexpr float STEP_DB = 0.5F;
constexpr float SILENCE_DB = -103.5F;
constexpr long LEAST_MICROPHONE_DB = -24;
constexpr long MOST_MICROPHONE_DB = 46;
// Hundredths of a dB.
constexpr int STEP_SIZE = 50;
constexpr int LOWEST_OF_STEPS = -5000;
constexpr int WHOLE_SIZE = 100;
constexpr unsigned LOWEST_MUTES = 0x10000;

using ReadStep = std::function<int(Volume&, unsigned char&)>;
using WriteStep = std::function<int(Volume&, unsigned char)>;

float gainOf(long step) {
    return step == 0 ? SILENCE_DB : (static_cast<float>(step) - UNITY_STEP) * STEP_DB;
}

long stepOf(float dB) {
    if (dB <= SILENCE_DB) return 0;
    return std::clamp(std::lround(dB / STEP_DB + UNITY_STEP), 0L, MOST_STEPS);
}

/// A volume in the server's steps.
Control steps(std::string name, ReadStep read, WriteStep write) {
    Control control;
    control.name = std::move(name);
    control.most = MOST_STEPS;
    control.scale = Control::Scale::Steps;
    control.read = [read = std::move(read)](Volume& volume, Values& values) {
        unsigned char step = 0;
        const int status = read(volume, step);
        values[0] = step;
        return status;
    };
    control.write = [write = std::move(write)](Volume& volume, const Values& values) {
        return write(volume, static_cast<unsigned char>(values[0]));
    };
    return control;
}

/// A switch is on while its path is not muted.
Control muteSwitch(std::string name, const char* path) {
    Control control;
    control.name = std::move(name);
    control.isSwitch = true;
    control.read = [path](Volume& volume, Values& values) {
        bool isMuted = false;
        const int status = volume.getMuteState(path, isMuted);
        values[0] = isMuted ? 0 : 1;
        return status;
    };
    control.write = [path](Volume& volume, const Values& values) {
        return values[0] != 0 ? volume.demute(path, true) : volume.mute(path, true);
    };
    return control;
}

Control typeVolume(const std::string& type) {
    std::string name = type + " Playback Volume";
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return steps(
        std::move(name),
        [type](Volume& volume, unsigned char& step) {
            return volume.getVolumeByStreamType(type.c_str(), step);
        },
        [type](Volume& volume, unsigned char step) {
            return volume.setVolumeByStreamType(type.c_str(), step);
        });
}

/// Two loudspeakers.
Control channels(std::string name, audio::audio_channel_idx_e left,
                 audio::audio_channel_idx_e right) {
    const std::array<audio::audio_channel_idx_e, 2> places = {left, right};
    Control control;
    control.name = std::move(name);
    control.count = 2;
    control.most = MOST_STEPS;
    control.scale = Control::Scale::Steps;
    control.read = [places](Volume& volume, Values& values) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            audio::audio_channel_gain_t gain{static_cast<std::uint32_t>(places[i]), 0, {}};
            if (const int status = volume.getChannelGain(&gain); status != 0) return status;
            values[i] = gain.volume;
        }
        return 0;
    };
    control.write = [places](Volume& volume, const Values& values) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            audio::audio_channel_gain_t gain{
                static_cast<std::uint32_t>(places[i]), static_cast<std::uint8_t>(values[i]), {}};
            if (const int status = volume.setChannelGain(&gain); status != 0) return status;
        }
        return 0;
    };
    return control;
}

/// Fade or balance.
Control position(std::string name, long Position::*part) {
    Control control;
    control.name = std::move(name);
    control.least = -Position::FARTHEST;
    control.most = Position::FARTHEST;
    control.read = [part](Volume& volume, Values& values) {
        Position found;
        const int status = found.read(volume);
        values[0] = found.*part;
        return status;
    };
    control.write = [part](Volume& volume, const Values& values) {
        Position wanted;
        if (const int status = wanted.read(volume); status != 0) return status;
        wanted.*part = values[0];
        return wanted.write(volume);
    };
    return control;
}

/// The gain of the telephone's uplink, in the same steps as volumes.
Control uplinkGain() {
    return steps(
        "Capture Volume",
        [](Volume& volume, unsigned char& step) {
            float dB = 0;
            const int status = volume.getUpLinkGain(&dB);
            step = static_cast<unsigned char>(stepOf(dB));
            return status;
        },
        [](Volume& volume, unsigned char step) { return volume.setUpLinkGain(gainOf(step)); });
}

Control microphoneGain() {
    Control control;
    control.name = "Mic Capture Volume";
    control.count = 2;
    control.least = LEAST_MICROPHONE_DB;
    control.most = MOST_MICROPHONE_DB;
    control.scale = Control::Scale::Decibels;
    control.read = [](Volume& volume, Values& values) {
        std::array<float, 2> dB = {};
        const int status = volume.getMicAnalogGain(dB.data(), &dB[1]);
        for (std::size_t i = 0; i < dB.size(); ++i)
            values[i] = std::clamp(std::lround(dB[i]), LEAST_MICROPHONE_DB, MOST_MICROPHONE_DB);
        return status;
    };
    control.write = [](Volume& volume, const Values& values) {
        return volume.setMicAnalogGain(static_cast<float>(values[0]),
                                       static_cast<float>(values[1]));
    };
    return control;
}

std::vector<Control> fixedControls() {
    return {
        steps(
            "Master Playback Volume",
            [](Volume& v, auto& step) { return v.getMasterVolume(&step); },
            [](Volume& v, auto step) { return v.setMasterVolume(step); }),
        muteSwitch("Master Playback Switch", "main"),
        steps(
            "Alternative Playback Volume",
            [](Volume& v, auto& step) { return v.getAlterAudioVolume(&step); },
            [](Volume& v, auto step) { return v.setAlterAudioVolume(step); }),
        muteSwitch("Alternative Playback Switch", "alternative"),
        steps(
            "Second Playback Volume",
            [](Volume& v, auto& step) { return v.getSecondAudioVolume(&step); },
            [](Volume& v, auto step) { return v.setSecondAudioVolume(step); }),
        muteSwitch("Second Playback Switch", "second"),
        muteSwitch("Auxiliary Playback Switch", "auxiliary"),
        channels("Front Playback Volume", audio::AUDIO_CHANNEL_LF, audio::AUDIO_CHANNEL_RF),
        channels("Surround Playback Volume", audio::AUDIO_CHANNEL_LS, audio::AUDIO_CHANNEL_RS),
        position("Fade", &Position::fade),
        position("Balance", &Position::balance),
        uplinkGain(),
        microphoneGain(),
    };
}

/// The server defines its steps. The scale holds where its master volume lies on it.
int checkScale(Volume& volume, bool& isUsual) {
    unsigned char step = 0;
    float dB = 0;
    if (const int status = volume.getMasterVolume(&step); status != 0) return status;
    if (const int status = volume.getMasterVolume(&dB); status != 0) return status;
    isUsual = step == stepOf(dB);
    return 0;
}

}  // namespace

std::vector<unsigned> Control::tlv() const {
    const auto scaleOf = [](int lowest, unsigned size) {
        return std::vector<unsigned>{SND_CTL_TLVT_DB_SCALE, 2 * sizeof(unsigned),
                                     static_cast<unsigned>(lowest), size};
    };
    switch (scale) {
        case Scale::Steps:
            return scaleOf(LOWEST_OF_STEPS, STEP_SIZE | LOWEST_MUTES);
        case Scale::Decibels:
            return scaleOf(static_cast<int>(least) * WHOLE_SIZE, WHOLE_SIZE);
        case Scale::None:
            break;
    }
    return {};
}

int listControls(Volume& volume, std::vector<Control>& controls) {
    bool isUsual = false;
    if (const int status = checkScale(volume, isUsual); status != 0) return status;
    std::vector<std::string> types;
    if (const int status = volume.getStreamTypeList(types); status != 0) return status;
    std::vector<Control> all = fixedControls();
    for (const std::string& type : types)
        if (!type.empty()) all.push_back(typeVolume(type));
    for (Control& control : all)
        if (control.scale == Control::Scale::Steps && !isUsual)
            control.scale = Control::Scale::None;
    controls = std::move(all);
    return AUDIO_NO_ERROR;
}

}  // namespace cabinaudio::alsa
