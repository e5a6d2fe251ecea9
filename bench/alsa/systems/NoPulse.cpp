// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/systems/System.h"

#include <stdexcept>

std::unique_ptr<cabinaudio::bench::System> cabinaudio::bench::startPulse(
    const std::string& /*directory*/) {
    throw std::runtime_error("built without libpulse-dev");
}
