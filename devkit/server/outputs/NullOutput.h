// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/outputs/Output.h"

namespace cabinaudio::server {

/// Discards the mix, at the pace of the server's clock.
class NullOutput : public Output {
public:
    void write(std::span<const float>) override {}
    [[nodiscard]] std::string name() const override { return "nothing"; }
};

}  // namespace cabinaudio::server
