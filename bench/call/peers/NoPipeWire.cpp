// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requester.h"

#include <stdexcept>

std::unique_ptr<cabinaudio::bench::Requester> cabinaudio::bench::requestPipeWire(
    const std::string& /*directory*/) {
    throw std::runtime_error("built without libpipewire-0.3-dev");
}
