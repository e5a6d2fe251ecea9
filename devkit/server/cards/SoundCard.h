// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/sound/OutputFormat.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace cabinaudio::server {

/// Result of a write to a card or a read from a microphone.
struct CardProgress {
    std::size_t count = 0;  // bytes written or samples read
    std::string problem;    // empty on success
    bool isLost = false;    // because of the problem the device must be opened anew
};

/// A sound card, or a sound server in front of it. Used by one thread.
class SoundCard {
public:
    virtual ~SoundCard() = default;

    /// Plays the beginning of `frames`, whole frames of the format that the card was opened with.
    /// Returns once it has taken some, has met a problem or has waited for `patience`. An empty
    /// span only looks for problems.
    virtual CardProgress write(std::span<const std::uint8_t> frames,
                               std::chrono::milliseconds patience) = 0;

    /// Returns when everything has been played, or after `patience`.
    virtual void drain(std::chrono::milliseconds patience) = 0;

    /// Frames in the card's buffer, which is never much longer than CARD_LATENCY_MS.
    [[nodiscard]] virtual std::size_t queuedFrames() = 0;

    /// Time from a write to the loudspeaker, including the parts behind the card's buffer; empty
    /// when unknown.
    [[nodiscard]] virtual std::optional<std::chrono::microseconds> latency() = 0;

    [[nodiscard]] virtual std::string name() const = 0;
};

/// Latency asked of a sound card, between the server and the loudspeaker.
inline constexpr unsigned CARD_LATENCY_MS = 64;

/// Longest time that opening a device of a sound server takes.
inline constexpr std::chrono::seconds OPEN_PATIENCE{5};

/// Whether a missing sound server may be started. Only by the first attempt of a program: later
/// attempts must not race with the system, which restarts its sound server itself.
enum class Spawn { Allowed, Forbidden };

/// @throws std::runtime_error with the reason, also when support was not compiled in
std::unique_ptr<SoundCard> openAlsa(const std::string& device, const OutputFormat& format);
std::unique_ptr<SoundCard> openPulse(const OutputFormat& format, Spawn spawn);

}  // namespace cabinaudio::server
