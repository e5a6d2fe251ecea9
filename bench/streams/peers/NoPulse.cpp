// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Peer.h"

#include <stdexcept>

std::unique_ptr<cabinaudio::bench::Peer> cabinaudio::bench::startPulse(
    const std::string& /*directory*/) {
    throw std::runtime_error("built without libpulse-dev");
}
