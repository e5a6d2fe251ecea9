// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/FadeBalance.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace cabinaudio::alsa {

namespace {

using Steps = std::array<long, 4>;  // left front, right front, left rear, right rear

constexpr std::array<audio::audio_channel_idx_e, 4> CORNERS = {
    audio::AUDIO_CHANNEL_LF, audio::AUDIO_CHANNEL_RF, audio::AUDIO_CHANNEL_LS,
    audio::AUDIO_CHANNEL_RS};

/// As the library computes them.
Steps stepsAt(const Position& place) {
    Steps steps = {100 - place.balance + place.fade, 100 + place.balance + place.fade,
                   100 - place.balance - place.fade, 100 + place.balance - place.fade};
    for (long& step : steps)
        step = std::clamp(step, 0L, 100L);
    return steps;
}

/// The place nearest to the middle.
Position placeOf(const Steps& steps) {
    if (stepsAt(Position{}) == steps) return {};
    Position best;
    long bestDistance = 4 * Position::FARTHEST;
    for (long fade = -Position::FARTHEST; fade <= Position::FARTHEST; ++fade)
        for (long balance = -Position::FARTHEST; balance <= Position::FARTHEST; ++balance) {
            const long distance = std::labs(fade) + std::labs(balance);
            if (distance >= bestDistance || stepsAt({fade, balance}) != steps) continue;
            best = {fade, balance};
            bestDistance = distance;
        }
    return best;
}

}  // namespace

int Position::read(audio::QVAudioSetting::Volume& volume) {
    Steps steps = {};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        audio::audio_channel_gain_t gain{static_cast<std::uint32_t>(CORNERS[i]), 0, {}};
        if (const int status = volume.getChannelGain(&gain); status != 0) return status;
        steps[i] = gain.volume;
    }
    *this = placeOf(steps);
    return 0;
}

int Position::write(audio::QVAudioSetting::Volume& volume) const {
    return volume.setFadeBalance(static_cast<int>(fade), static_cast<int>(balance),
                                 static_cast<unsigned>(FARTHEST));
}

}  // namespace cabinaudio::alsa
