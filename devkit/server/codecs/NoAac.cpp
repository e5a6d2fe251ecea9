// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/codecs/FrameEncoder.h"

#include <stdexcept>

namespace cabinaudio::server {

std::unique_ptr<FrameEncoder> makeAacEncoder(const StreamFormat&, std::uint32_t) {
    throw std::runtime_error("aac: this server was built without it");
}

}  // namespace cabinaudio::server
