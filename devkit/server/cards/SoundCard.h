// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/OutputFormat.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::server {

/// A sound card, or a sound server in front of it. Used by one thread, which it blocks.
class SoundCard {
public:
    virtual ~SoundCard() = default;

    /// Plays whole frames of the format that it was opened with; returns when there is room for
    /// more. @return what went wrong, empty if nothing; it goes on with the next write
    virtual std::string write(std::span<const std::uint8_t> frames) = 0;

    /// Returns when everything has been played.
    virtual void drain() = 0;

    [[nodiscard]] virtual std::string name() const = 0;
};

/// What a sound card is asked to keep between the server and the loudspeaker.
inline constexpr unsigned CARD_LATENCY_MS = 64;

/// @throws std::runtime_error saying why it does not work, also when it was left out of the build
std::unique_ptr<SoundCard> openAlsa(const std::string& device, const OutputFormat& format);
std::unique_ptr<SoundCard> openPulse(const OutputFormat& format);

}  // namespace cabinaudio::server
