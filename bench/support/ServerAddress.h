// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Frame.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstring>

namespace cabinaudio::bench {

/// Address of the server's abstract socket.
class ServerAddress {
public:
    ServerAddress() {
        mAddress.sun_family = AF_UNIX;
        std::memcpy(mAddress.sun_path + 1, wire::SERVER_SOCKET, NAME_LENGTH);
    }
    [[nodiscard]] const sockaddr* get() const {
        return reinterpret_cast<const sockaddr*>(&mAddress);
    }
    [[nodiscard]] socklen_t length() const {
        return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + NAME_LENGTH);
    }

private:
    static constexpr std::size_t NAME_LENGTH = sizeof wire::SERVER_SOCKET - 1;
    sockaddr_un mAddress{};
};

}  // namespace cabinaudio::bench
