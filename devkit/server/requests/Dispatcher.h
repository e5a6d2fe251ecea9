// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "devkit/server/requests/ReplyFaults.h"
#include "devkit/server/requests/Services.h"
#include "devkit/server/requests/Trace.h"

#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::server {

struct Operation;

/// Finds the operation of a request, runs it and sends the reply.
class Dispatcher {
public:
    Dispatcher(Services services, const Trace& trace, ReplyFaults& faults)
        : mServices(services), mTrace(trace), mFaults(faults) {}

    /// @param payload  at least the function id
    void dispatch(Client& client, std::span<const std::uint8_t> payload);

    /// Name of the request that is being answered.
    [[nodiscard]] const std::string& running() const { return mRunning; }

private:
    void refuse(Client& client, std::uint32_t function, std::span<const std::uint8_t> payload);
    void run(Client& client, const Operation& operation, std::span<const std::uint8_t> payload);

    Services mServices;
    const Trace& mTrace;
    ReplyFaults& mFaults;
    std::string mRunning;
};

}  // namespace cabinaudio::server
