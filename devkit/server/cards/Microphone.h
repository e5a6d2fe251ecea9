// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/cards/SoundCard.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::server {

/// Input of a sound card or a sound server. Used by one thread.
class Microphone {
public:
    static constexpr std::uint32_t RATE = 48000;
    static constexpr unsigned CHANNELS = 2;

    virtual ~Microphone() = default;

    /// Fills the beginning of `samples` with whole frames. Returns once there are some, after a
    /// problem or when it has waited for `patience`.
    virtual CardProgress read(std::span<std::int16_t> samples,
                              std::chrono::milliseconds patience) = 0;

    [[nodiscard]] virtual std::string name() const = 0;
};

/// @throws std::runtime_error with the reason, also when support was not compiled in
std::unique_ptr<Microphone> openAlsaMicrophone();
std::unique_ptr<Microphone> openPulseMicrophone(Spawn spawn);

}  // namespace cabinaudio::server
