// SPDX-License-Identifier: Apache-2.0
//
// Compiled alone, with a row on the command line: not a part of the test program.
#include <cabinaudio/QVAudioSettingTypes.h>

#include "client/Setting.h"

namespace cabinaudio::setting {

using V = wire::VolumeFunction;
using S = wire::SourceFunction;

[[maybe_unused]] std::int32_t row([[maybe_unused]] RemoteCall& rc, [[maybe_unused]] const char* tag,
                                  [[maybe_unused]] const char* name, [[maybe_unused]] float& gain,
                                  [[maybe_unused]] double& wide, [[maybe_unused]] int& count,
                                  [[maybe_unused]] unsigned char& step,
                                  [[maybe_unused]] audio::audio_mixer_gain_t& mixer) {
    return ROW;
}

}  // namespace cabinaudio::setting
