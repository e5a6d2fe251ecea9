// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"

#include <string>
#include <vector>

namespace cabinaudio::server {

/// Replies that are to be damaged on purpose, each once, so that a program's answer to a broken
/// server can be tested.
class ReplyFaults {
public:
    static constexpr char ANY_REQUEST[] = "any";

    /// Damages the next reply.
    /// @param request  name of the request, or ANY_REQUEST
    /// @param client   name of the client; empty: of any
    /// @return false when no connection type has such a request
    bool arm(ReplyDamage damage, const std::string& request, const std::string& client);

    /// The damage for this reply, which is over with it.
    [[nodiscard]] ReplyDamage take(const std::string& request, const std::string& client);

private:
    struct Fault {
        ReplyDamage damage;
        std::string request;
        std::string client;
    };
    std::vector<Fault> mFaults;  // oldest first
};

}  // namespace cabinaudio::server
