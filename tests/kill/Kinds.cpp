// SPDX-License-Identifier: Apache-2.0
#include "tests/kill/Kinds.h"

#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"

#include <optional>

namespace cabinaudio::test {

namespace {

class StreamClient : public AnyClient {
public:
    explicit StreamClient(const StreamKind& kind) : mKind(kind) {}

    int step(int number) override {
        switch (number) {
            case 0:
                mStream = mKind.create(cdFormat());
                return 0;
            case 1:
                return mStream->initCheck();
            case 2:
                return mStream->start();
            case 3:
                // Without waiting for data, which no server of these tests moves.
                return mStream->move(mData.data(), 64, false);
            default:
                return mStream->stop();
        }
    }

    int operate() override { return mStream->start(); }
    bool isSettled() override { return mStream->getTotalBufferSize() > 0; }

private:
    const StreamKind& mKind;
    std::unique_ptr<AnyStream> mStream;
    std::vector<unsigned char> mData = std::vector<unsigned char>(4096);
};

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
    int first[3], second[3], third;
    return client.getServerVersions(first, second, &third);
}

template <typename Setting>
class SettingClient : public AnyClient {
public:
    int step(int number) override {
        if (number == 0) mClient.emplace();
        return number == 1 || number == 2 ? ask(*mClient) : 0;
    }
    int operate() override { return ask(*mClient); }

private:
    std::optional<Setting> mClient;
};

template <typename Setting>
ClientKind setting(const char* name) {
    return {name, false, 3, [] { return std::make_unique<SettingClient<Setting>>(); }};
}

}  // namespace

const std::vector<ClientKind>& clientKinds() {
    static const std::vector<ClientKind> kinds = [] {
        std::vector<ClientKind> all;
        for (const StreamKind& kind : streamKinds())
            // Registration, creation, start, stop; a look at the stream or the place of its ring.
            all.push_back(
                {kind.name, true, 5, [&kind] { return std::make_unique<StreamClient>(kind); }});
        all.push_back(setting<ClientVolumeSetting>("volumeSetting"));
        all.push_back(setting<ClientSourceSetting>("sourceSetting"));
        all.push_back(setting<ClientAppSetting>("appSetting"));
        all.push_back(setting<ClientMixerSetting>("mixerSetting"));
        all.push_back(setting<ClientAudioRecordControl>("recordControlSetting"));
        all.push_back(setting<ClientVersionSetting>("version"));
        return all;
    }();
    return kinds;
}

}  // namespace cabinaudio::test
