// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/alsa/MixListener.h"

#include <sys/types.h>

#include <memory>
#include <string>

namespace cabinaudio::bench {

/// A running sound server whose ALSA plug-in is measured.
class System {
public:
    virtual ~System() = default;

    /// What alsa-lib must read to find the plug-in and the server: "pcm.measured { ... }".
    [[nodiscard]] virtual std::string definition() const = 0;
    [[nodiscard]] virtual pid_t process() const = 0;
    /// Hears the mix until the object ends.
    [[nodiscard]] virtual std::unique_ptr<MixListener> listen() = 0;
};

/// Each starts its server.
/// @param directory  empty scratch directory
/// @throws std::exception when it is unavailable here; what() gives the reason
std::unique_ptr<System> startCabin(const std::string& directory);
std::unique_ptr<System> startPulse(const std::string& directory);
std::unique_ptr<System> startPipeWire(const std::string& directory);

}  // namespace cabinaudio::bench
