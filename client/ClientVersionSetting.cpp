// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Setting.h"
#include "foundation/Make.h"

#include <algorithm>

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
    return ask<wire::VersionFunction::GetServerVersions>(*mRc, {},
                                                         [&](const wire::VersionReply& reply) {
                                                             std::copy_n(reply.first, 3, first);
                                                             std::copy_n(reply.second, 3, second);
                                                             if (third != nullptr)
                                                                 *third = reply.third;
                                                         })
        .status;
}

void ClientVersionSetting::getClientVersions(int* first, int* second) {
    constexpr int VERSION[3] = {2, 24, 25};
    std::copy_n(VERSION, 3, first);
    std::fill_n(second, 3, 0);
}
