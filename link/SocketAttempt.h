// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

/// A single attempt to send or receive, and the rule for retries.
namespace cabinaudio {

constexpr int MAX_ATTEMPTS = 11;
constexpr std::uint64_t RETRY_PAUSE_US = 10000;

/// Refuses a negative length as the platform would. Converted to a huge unsigned length, it would
/// send or overwrite memory behind the block.
inline std::int32_t refuseLength() {
    errno = EINVAL;
    return -1;
}

/// recv(2) with a signed length.
inline std::int32_t receiveOnce(int descriptor, void* data, std::int32_t length) {
    if (length < 0) return refuseLength();
    // recv(2) would block even for 0 bytes.
    if (length == 0) return 0;
    return static_cast<std::int32_t>(
        ::recv(descriptor, data, static_cast<std::size_t>(length), MSG_NOSIGNAL));
}

/// Whether to retry a call that returned less than 1.
inline bool worthRetrying(std::int32_t result, int error) {
    return result == 0 || (result == -1 && error == EAGAIN);
}

}  // namespace cabinaudio
