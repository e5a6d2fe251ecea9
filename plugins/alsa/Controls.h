// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::alsa {

using Volume = audio::QVAudioSetting::Volume;

/// Values of a control: left and right, or only the first.
using Values = std::array<long, 2>;

/// A mixer control on settings of the server.
struct Control {
    enum class Scale {
        None,
        Steps,     // 0 is silence, then half a dB each, 100 is 0 dB
        Decibels,  // whole dB
    };

    std::string name;
    bool isSwitch = false;
    unsigned count = 1;  // of the values
    long least = 0;
    long most = 1;
    Scale scale = Scale::None;
    std::function<int(Volume&, Values&)> read;         // a status of the setting
    std::function<int(Volume&, const Values&)> write;  // as above

    /// What mixers show as dB, as ALSA's TLV; empty without a scale.
    [[nodiscard]] std::vector<unsigned> tlv() const;
};

/// All controls of a server.
/// @param controls  set when AUDIO_NO_ERROR is returned
/// @return a status of the settings
int listControls(Volume& volume, std::vector<Control>& controls);

}  // namespace cabinaudio::alsa
