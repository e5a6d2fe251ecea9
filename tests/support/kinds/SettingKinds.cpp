// SPDX-License-Identifier: Apache-2.0
#include "tests/support/kinds/SettingKinds.h"

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioConnectType.h>

namespace cabinaudio::test {

namespace {

int ask(ClientVolumeSetting& client) {
    return client.setMasterVolume(-1.0F);
}
int ask(ClientSourceSetting& client) {
    return client.setFrontAudioState(audio_seat_state_e{1});
}
int ask(ClientAppSetting& client) {
    audio::audio_ext_eq_parameter_t equalizer = {};
    return client.setEqualizer(&equalizer);
}
int ask(ClientMixerSetting& client) {
    return client.setUpMixMode(1);
}
int ask(ClientAudioRecordControl& client) {
    const audio::effect_param_t nothing = {0};
    return client.set("uplink", "noise", nothing);
}
int ask(ClientVersionSetting& client) {
    int first[3];
    int second[3];
    int third = 0;
    return client.getServerVersions(first, second, &third);
}

template <typename Client>
std::unique_ptr<AnySetting> create() {
    const auto one = [](Client& client) { return ask(client); };
    return std::make_unique<SettingOf<Client, decltype(one)>>(one);
}

}  // namespace

const std::vector<SettingKind>& settingKinds() {
    static const std::vector<SettingKind> kinds = {
        {"volumeSetting", AUDIO_CONNECT_VOLUME_SETTING, 4, create<ClientVolumeSetting>},
        {"sourceSetting", AUDIO_CONNECT_SOURCE_SETTING, 4, create<ClientSourceSetting>},
        {"appSetting", AUDIO_CONNECT_APP_SETTING, 4, create<ClientAppSetting>},
        {"mixerSetting", AUDIO_CONNECT_MIXER_SETTING, 4, create<ClientMixerSetting>},
        {"recordControlSetting", AUDIO_CONNECT_RECORD_CONTROL, 4, create<ClientAudioRecordControl>},
        {"version", AUDIO_CONNECT_VERSION_SETTING, 32, create<ClientVersionSetting>},
    };
    return kinds;
}

}  // namespace cabinaudio::test
