// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace cabinaudio::bench {

/// Another system's server in its own process, without a sound card, and its client library in this
/// process.
class Peer {
public:
    virtual ~Peer() = default;

    /// Connects and creates a playback stream, until it is ready for data.
    /// @return whether that succeeded
    virtual bool open() = 0;
    /// Ends the stream and the connection.
    virtual void close() = 0;
};

/// Each starts its server and waits until it answers.
/// @param directory  empty scratch directory for the server
/// @throws std::exception when it is unavailable here; what() gives the reason
std::unique_ptr<Peer> startPulse(const std::string& directory);
std::unique_ptr<Peer> startPipeWire(const std::string& directory);
std::unique_ptr<Peer> startSndio(const std::string& directory);

}  // namespace cabinaudio::bench
