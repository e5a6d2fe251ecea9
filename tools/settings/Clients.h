// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include <optional>

namespace cabinaudio::tool {

/// The library's settings clients. Each connects on first use, which blocks until the server has
/// answered.
class Clients {
public:
    ClientVolumeSetting& volume() { return get(mVolume); }
    ClientSourceSetting& source() { return get(mSource); }
    ClientAppSetting& app() { return get(mApp); }
    ClientMixerSetting& mixer() { return get(mMixer); }
    ClientAudioRecordControl& recordControl() { return get(mRecordControl); }

private:
    template <typename Client>
    static Client& get(std::optional<Client>& client) {
        if (!client) client.emplace();
        return *client;
    }

    std::optional<ClientVolumeSetting> mVolume;
    std::optional<ClientSourceSetting> mSource;
    std::optional<ClientAppSetting> mApp;
    std::optional<ClientMixerSetting> mMixer;
    std::optional<ClientAudioRecordControl> mRecordControl;
};

}  // namespace cabinaudio::tool
