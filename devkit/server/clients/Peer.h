// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

namespace cabinaudio::server {

/// The process at the other end of a socket, as the kernel knows it: its credentials when it
/// connected. Nothing in here can be chosen by that process.
struct Peer {
    pid_t process = 0;  // 0 when it is not in the server's process namespace
    uid_t user = 0;     // effective
    gid_t group = 0;    // effective
};

/// Nothing when the kernel does not say.
std::optional<Peer> peerOf(int socket);

/// The supplementary groups; none where the kernel (before 4.13) does not say.
std::vector<gid_t> groupsOf(int socket);

}  // namespace cabinaudio::server
