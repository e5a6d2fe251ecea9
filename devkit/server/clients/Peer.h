// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

namespace cabinaudio::server {

/// The process at the other end of a socket, as the kernel knows it: its credentials at connect.
/// The process cannot forge any of them.
struct Peer {
    pid_t process = 0;  // 0 when it is not in the server's process namespace
    uid_t user = 0;     // effective
    gid_t group = 0;    // effective
};

/// Empty when the kernel does not tell.
std::optional<Peer> peerOf(int socket);

/// The supplementary groups; none on kernels before 4.13, which cannot tell.
std::vector<gid_t> groupsOf(int socket);

}  // namespace cabinaudio::server
