// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Peer.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstddef>

namespace cabinaudio::server {

std::optional<Peer> peerOf(int socket) {
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return {};
    return Peer{credentials.pid, credentials.uid, credentials.gid};
}

std::vector<gid_t> groupsOf(int socket) {
    std::vector<gid_t> groups(32);
    while (true) {
        auto size = static_cast<socklen_t>(groups.size() * sizeof groups[0]);
        const bool isDone =
            getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) == 0;
        const std::size_t count = size / sizeof groups[0];
        // The buffer was too short; the length now holds the size of the whole list.
        const bool isTooShort = !isDone && errno == ERANGE && count > groups.size();
        groups.resize(isDone || isTooShort ? count : 0);
        if (!isTooShort) return groups;
    }
}

}  // namespace cabinaudio::server
