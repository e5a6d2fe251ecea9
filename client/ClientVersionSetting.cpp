// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/RequestFrame.h"
#include "foundation/Make.h"
#include "wire/Settings.h"
#include "wire/Stream.h"

#include <algorithm>

namespace wire = cabinaudio::wire;

ClientVersionSetting::ClientVersionSetting() noexcept
    : mRc(cabinaudio::make<RemoteCall>(AUDIO_CONNECT_VERSION_SETTING, nullptr, nullptr, nullptr)) {}

ClientVersionSetting::~ClientVersionSetting() {
    delete mRc;
}

int ClientVersionSetting::initCheck() {
    return mRc->initCheck();
}

int ClientVersionSetting::getServerVersions(int* first, int* second, int* third) {
    const auto function = static_cast<std::uint32_t>(wire::VersionFunction::GetServerVersions);
    wire::VersionReply reply{};
    const cabinaudio::Answer answer =
        cabinaudio::exchange(*mRc, AUDIO_LOG_SITE, wire::FunctionRequest{function}, reply, true);
    if (answer.arrived) {
        std::copy_n(reply.first, 3, first);
        std::copy_n(reply.second, 3, second);
        third[0] = reply.third;
    }
    return answer.status;
}

void ClientVersionSetting::getClientVersions(int* first, int* second) {
    constexpr int version[3] = {2, 24, 25};
    std::copy_n(version, 3, first);
    std::fill_n(second, 3, 0);
}
