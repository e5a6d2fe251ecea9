// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/cards/DeviceHealth.h"
#include "devkit/server/sound/OutputFormat.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace cabinaudio::server {

/// How an output does at present.
struct OutputState {
    DeviceState device;
    std::uint64_t droppedFrames = 0;  // did not fit into the card's buffer
    std::optional<double> latencyMs;  // from the mix to the loudspeaker; empty when unknown
    std::string warning;              // why nothing can be heard, although nothing has failed
};

/// Destination of the mix. Called on the event loop's thread; must never block.
class Output {
public:
    virtual ~Output() = default;

    /// Takes whole frames of the mix. The output logs and counts its own errors.
    virtual void write(std::span<const float> frames) = 0;

    /// Periods that the output needs now. A sound card has its own clock and asks for one period
    /// less or more now and then.
    /// @param deadlines  of the server's clock since the last call
    virtual std::uint64_t periodsDue(std::uint64_t deadlines) { return deadlines; }

    /// There are no more streams: plays what was written to its end, then nothing until the next
    /// write().
    virtual void pause() {}

    /// Errors, losses and latency.
    [[nodiscard]] virtual OutputState state() const { return {}; }

    /// For display: "WAV file heard.wav".
    [[nodiscard]] virtual std::string name() const = 0;
};

}  // namespace cabinaudio::server
