// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

/// One attempt to send or to receive, and when another one follows.
namespace cabinaudio {

constexpr int MAX_ATTEMPTS = 11;
constexpr std::uint64_t RETRY_PAUSE_US = 10000;

/// Refuses a negative length as the platform would. It must not become a huge one, which would send
/// or overwrite what lies behind the block.
inline std::int32_t refuseLength() {
    errno = EINVAL;
    return -1;
}

/// recv(2), with a length as callers give it.
inline std::int32_t receiveOnce(int descriptor, void* data, std::int32_t length) {
    if (length < 0) return refuseLength();
    // The platform would wait for bytes even where none are wanted.
    if (length == 0) return 0;
    return static_cast<std::int32_t>(
        ::recv(descriptor, data, static_cast<std::size_t>(length), MSG_NOSIGNAL));
}

/// After a result below 1: whether the same call may do better.
inline bool worthRetrying(std::int32_t result, int error) {
    return result == 0 || (result == -1 && error == EAGAIN);
}

}  // namespace cabinaudio
