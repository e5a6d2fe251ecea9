// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace cabinaudio::bench {

/// A connection to another system's server, in a process of its own and with the scheduling that it
/// gives itself.
class Requester {
public:
    virtual ~Requester() = default;

    /// A small request and its reply. @return whether it came
    virtual bool request() = 0;
};

/// Each starts its server and connects.
/// @param directory  for what the server needs; an empty one of its own
/// @throws std::exception when it is not to be had here; what() says why
std::unique_ptr<Requester> requestPulse(const std::string& directory);
std::unique_ptr<Requester> requestPipeWire(const std::string& directory);
std::unique_ptr<Requester> requestJack(const std::string& directory);
std::unique_ptr<Requester> requestSystemdBus(const std::string& directory);
std::unique_ptr<Requester> requestDbus(const std::string& directory);

}  // namespace cabinaudio::bench
