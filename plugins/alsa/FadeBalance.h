// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>

namespace cabinaudio::alsa {

/// Place of the sound among the seats. The server knows the volumes of the loudspeakers only, from
/// which the place is found: the middle when they fit no place.
struct Position {
    static constexpr long FARTHEST = 100;

    long fade = 0;     // to the front; negative: to the back
    long balance = 0;  // to the right; negative: to the left

    /// @return a status of the setting
    int read(audio::QVAudioSetting::Volume& volume);
    /// @return as above
    int write(audio::QVAudioSetting::Volume& volume) const;
};

}  // namespace cabinaudio::alsa
