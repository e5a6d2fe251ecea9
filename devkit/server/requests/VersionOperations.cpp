// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Version.h"
#include "devkit/server/requests/Operations.h"
#include "devkit/server/requests/SettingOperation.h"

#include <algorithm>
#include <array>

namespace cabinaudio::server {
namespace {

std::int32_t getServerVersions(Call&, const wire::FunctionRequest&, wire::VersionReply& reply) {
    std::copy(SERVER_VERSION.begin(), SERVER_VERSION.end(), reply.first);
    return AUDIO_NO_ERROR;
}

constexpr std::array OPERATIONS = {
    setting<wire::VersionFunction::GetServerVersions, &getServerVersions>(),
};
static_assert(coversAll(OPERATIONS, wire::VERSION_SETTINGS));

}  // namespace

std::span<const Operation> versionOperations() {
    return OPERATIONS;
}

}  // namespace cabinaudio::server
