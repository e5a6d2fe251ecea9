// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace cabinaudio::bench {

/// A connection to another system's server, which runs in its own process with its own scheduling.
class Requester {
public:
    virtual ~Requester() = default;

    /// A small request and its reply. @return whether the reply arrived
    virtual bool request() = 0;
};

/// Each starts its server and connects.
/// @param directory  empty scratch directory for the server
/// @throws std::exception when it is unavailable here; what() gives the reason
std::unique_ptr<Requester> requestPulse(const std::string& directory);
std::unique_ptr<Requester> requestPipeWire(const std::string& directory);
std::unique_ptr<Requester> requestJack(const std::string& directory);
std::unique_ptr<Requester> requestSystemdBus(const std::string& directory);
std::unique_ptr<Requester> requestDbus(const std::string& directory);

}  // namespace cabinaudio::bench
