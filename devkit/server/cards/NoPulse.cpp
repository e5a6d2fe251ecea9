// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/cards/SoundCard.h"

#include <stdexcept>

namespace cabinaudio::server {

std::unique_ptr<SoundCard> openPulse(const OutputFormat&, Spawn) {
    throw std::runtime_error("pulse: this server was built without it");
}

std::unique_ptr<Microphone> openPulseMicrophone(Spawn) {
    throw std::runtime_error("pulse: this server was built without it");
}

}  // namespace cabinaudio::server
