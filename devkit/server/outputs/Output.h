// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/OutputFormat.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::server {

/// Where the mix goes. Called on the event loop's thread and never blocks it.
class Output {
public:
    virtual ~Output() = default;

    /// Takes whole frames of the mix. Trouble is the output's own: it is logged and counted.
    virtual void write(std::span<const float> frames) = 0;

    /// How many periods the output can take now. Sound cards run by a clock of their own and ask
    /// for one less or more now and then.
    /// @param deadlines  of the server's clock that have passed since the last time
    virtual std::uint64_t periodsDue(std::uint64_t deadlines) { return deadlines; }

    /// No more streams: what was written is played to its end, then there is nothing until the
    /// next write().
    virtual void pause() {}

    /// Times that something could not be played as it should.
    [[nodiscard]] virtual std::uint64_t errors() const { return 0; }

    /// For people: "WAV file heard.wav".
    [[nodiscard]] virtual std::string name() const = 0;
};

}  // namespace cabinaudio::server
