// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Peer.h"
#include "devkit/server/clients/Quota.h"

#include <sys/resource.h>

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Users that are let in besides root and the one that the server runs as.
struct AllowedUsers {
    bool isEverybody = false;
    std::vector<gid_t> groups;  // members of these
};

/// How many connections there may be at once: of one user, of all users together that are neither
/// root nor the server's, and at all. The server's user and root are left a part in any case.
struct ConnectionLimits {
    std::size_t clientsOfUser;
    std::size_t clientsOfOthers;
    std::size_t clients;
    std::size_t controlsOfUser;
    std::size_t controlsOfOthers;

    /// @param descriptors  that the process may have
    static ConnectionLimits of(rlim_t descriptors);
};

/// A connection that was let in. Its place is free again when this is destroyed.
struct Admitted {
    Peer peer;
    Quota::Share ofUser;
    Quota::Share ofOthers;
    Quota::Share unfinishedBytes;  // of a message that has not come to its end; clients only
};

/// Decides which connections are let in. Refusals are logged once for each user.
class Admission {
public:
    /// Of all clients of a user together.
    static constexpr std::size_t UNFINISHED_BYTES = 8 << 20;

    Admission(AllowedUsers allowed, const ConnectionLimits& limits);

    /// @return nothing when it is refused
    std::optional<Admitted> admitClient(int socket);
    /// @param reason  why it is refused
    std::optional<Admitted> admitControl(int socket, std::string& reason);

private:
    struct Door {
        Quota ofUser;
        Quota ofOthers;
    };

    std::optional<Admitted> admit(int socket, Door& door, std::string& reason);
    [[nodiscard]] bool isTrusted(uid_t user) const { return user == 0 || user == mOwner; }
    [[nodiscard]] bool isAllowed(int socket, const Peer& peer) const;

    const AllowedUsers mAllowed;
    const uid_t mOwner;
    Door mClients;
    Door mControls;
    Quota mUnfinished;
    std::set<uid_t> mRefused;  // that were logged
};

}  // namespace cabinaudio::server
