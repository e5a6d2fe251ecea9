// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/cards/Microphone.h"
#include "devkit/server/cards/SoundCard.h"

#include <stdexcept>

namespace cabinaudio::server {

std::unique_ptr<SoundCard> openAlsa(const std::string&, const OutputFormat&) {
    throw std::runtime_error("alsa: this server was built without it");
}

std::unique_ptr<Microphone> openAlsaMicrophone() {
    throw std::runtime_error("alsa: this server was built without it");
}

}  // namespace cabinaudio::server
