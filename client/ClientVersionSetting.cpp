// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "foundation/Make.h"
#include "wire/Settings.h"

#include <algorithm>
#include <array>

namespace wire = cabinaudio::wire;
using namespace cabinaudio::setting;

ClientVersionSetting::ClientVersionSetting() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_VERSION_SETTING, nullptr, nullptr, nullptr)) {}

ClientVersionSetting::~ClientVersionSetting() {
    delete mRc;
}

int ClientVersionSetting::initCheck() {
    return mRc->initCheck();
}

int ClientVersionSetting::getServerVersions(int* first, int* second, int* third) {
    using Triple = std::array<std::int32_t, 3>;
    return get(
        *mRc, AUDIO_LOG_SITE, wire::VersionFunction::GetServerVersions, sent(),
        received<Triple>([&](const Triple& replied) { std::copy_n(replied.data(), 3, first); }),
        received<Triple>([&](const Triple& replied) { std::copy_n(replied.data(), 3, second); }),
        third);
}

void ClientVersionSetting::getClientVersions(int* first, int* second) {
    constexpr int version[3] = {2, 24, 25};
    std::copy_n(version, 3, first);
    std::fill_n(second, 3, 0);
}
