// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/requests/ReplyFaults.h"

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/requests/Operation.h"

#include <algorithm>

namespace cabinaudio::server {
namespace {

// Connection types are small numbers; those without operations have empty tables.
constexpr int CONNECT_TYPES = AUDIO_CONNECT_UNKNOWN;

bool isRequest(const std::string& name) {
    for (int type = 0; type < CONNECT_TYPES; ++type) {
        const auto operations = operationsOf(static_cast<audio_connect_type>(type));
        if (std::any_of(operations.begin(), operations.end(),
                        [&](const Operation& operation) { return operation.name == name; }))
            return true;
    }
    return false;
}

}  // namespace

bool ReplyFaults::arm(ReplyDamage damage, const std::string& request, const std::string& client) {
    if (request != ANY_REQUEST && !isRequest(request)) return false;
    mFaults.push_back({damage, request, client});
    return true;
}

ReplyDamage ReplyFaults::take(const std::string& request, const std::string& client) {
    const auto found = std::find_if(mFaults.begin(), mFaults.end(), [&](const Fault& fault) {
        return (fault.request == ANY_REQUEST || fault.request == request) &&
               (fault.client.empty() || fault.client == client);
    });
    if (found == mFaults.end()) return ReplyDamage::None;
    const ReplyDamage damage = found->damage;
    mFaults.erase(found);
    return damage;
}

}  // namespace cabinaudio::server
