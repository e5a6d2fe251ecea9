// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/OutputFormat.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::server {

/// A sound card, or a sound server in front of it. Blocks; used by one thread.
class SoundCard {
public:
    virtual ~SoundCard() = default;

    /// Plays whole frames of the format that it was opened with; returns when there is room for
    /// more. @return an error text, empty on success; the next write tries again
    virtual std::string write(std::span<const std::uint8_t> frames) = 0;

    /// Blocks until everything has been played.
    virtual void drain() = 0;

    [[nodiscard]] virtual std::string name() const = 0;
};

/// Latency asked of a sound card, between the server and the loudspeaker.
inline constexpr unsigned CARD_LATENCY_MS = 64;

/// @throws std::runtime_error with the reason, also when support was not compiled in
std::unique_ptr<SoundCard> openAlsa(const std::string& device, const OutputFormat& format);
std::unique_ptr<SoundCard> openPulse(const OutputFormat& format);

}  // namespace cabinaudio::server
