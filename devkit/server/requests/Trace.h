// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"

#include <chrono>
#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::server {

/// Prints requests, replies and notifications on stdout, one line each. Does nothing unless
/// enabled.
class Trace {
public:
    explicit Trace(bool isEnabled);

    void registration(const Client& client, std::uint32_t handle) const;
    void request(const Client& client, std::span<const std::uint8_t> payload,
                 std::span<const std::uint8_t> reply, std::chrono::microseconds duration) const;
    void notification(const Client& client, std::uint32_t event, std::uint32_t param) const;
    void disconnection(const Client& client) const;

private:
    void print(std::uint32_t handle, const Client& client, const std::string& text) const;

    bool mIsEnabled;
    std::chrono::steady_clock::time_point mStart;
};

}  // namespace cabinaudio::server
