// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/SampleCodec.h"

#include <cstdint>

namespace cabinaudio::server {

/// Format of the mix.
struct OutputFormat {
    std::uint32_t rate = 48000;
    unsigned channels = 2;
    SampleType type = SampleType::S16;
};

}  // namespace cabinaudio::server
