// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace cabinaudio::bench {

/// Another system's server in a process of its own, without a sound card, and its client library in
/// this process.
class Peer {
public:
    virtual ~Peer() = default;

    /// Connects and makes a playback stream, until it could be written to.
    /// @return whether that went well
    virtual bool open() = 0;
    /// Ends the stream and the connection.
    virtual void close() = 0;
};

/// Each starts its server and waits until it answers.
/// @param directory  for what the server needs; an empty one of its own
/// @throws std::exception when it is not to be had here; what() says why
std::unique_ptr<Peer> startPulse(const std::string& directory);
std::unique_ptr<Peer> startPipeWire(const std::string& directory);
std::unique_ptr<Peer> startSndio(const std::string& directory);

}  // namespace cabinaudio::bench
