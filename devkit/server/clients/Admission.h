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

/// Users admitted besides root and the server's own user.
struct AllowedUsers {
    bool includesEverybody = false;
    std::vector<gid_t> groups;  // whose members are admitted
};

/// Maximum numbers of simultaneous connections: of one user, of all users except root and the
/// server's, and in total. A share always remains for root and the server's user.
struct ConnectionLimits {
    std::size_t clientsOfUser;
    std::size_t clientsOfOthers;
    std::size_t clients;
    std::size_t controlsOfUser;
    std::size_t controlsOfOthers;

    /// @param descriptors  the process's descriptor limit
    static ConnectionLimits of(rlim_t descriptors);
};

/// An admitted connection. Its destruction frees its place in the limits.
struct Admitted {
    Peer peer;
    Quota::Share ofUser;
    Quota::Share ofOthers;
    Quota::Share unfinishedBytes;  // of an incomplete message; clients only
};

/// Decides which connections are admitted. Refusals are logged once per user.
class Admission {
public:
    /// Limit for all clients of one user together.
    static constexpr std::size_t UNFINISHED_BYTES = 8 << 20;

    Admission(AllowedUsers allowed, const ConnectionLimits& limits);

    /// @return empty when the connection is refused
    std::optional<Admitted> admitClient(int socket);
    /// @param reason  set when the connection is refused
    std::optional<Admitted> admitControl(int socket, std::string& reason);

private:
    struct Quotas {
        Quota ofUser;
        Quota ofOthers;
    };

    std::optional<Admitted> admit(int socket, Quotas& quotas, std::string& reason);
    [[nodiscard]] bool isTrusted(uid_t user) const { return user == 0 || user == mOwner; }
    [[nodiscard]] bool isAllowed(int socket, const Peer& peer) const;

    const AllowedUsers mAllowed;
    const uid_t mOwner;
    Quotas mClients;
    Quotas mControls;
    Quota mUnfinished;
    std::set<uid_t> mRefused;  // users whose refusal was logged
};

}  // namespace cabinaudio::server
