// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::server {

/// A sound card's input, or a sound server's. Used by one thread, which it blocks.
class Microphone {
public:
    static constexpr std::uint32_t RATE = 48000;
    static constexpr unsigned CHANNELS = 2;

    virtual ~Microphone() = default;

    /// Waits for whole frames and fills all of `samples`. @return what went wrong, empty if nothing
    virtual std::string read(std::span<std::int16_t> samples) = 0;

    [[nodiscard]] virtual std::string name() const = 0;
};

/// @throws std::runtime_error saying why it does not work, also when it was left out of the build
std::unique_ptr<Microphone> openAlsaMicrophone();
std::unique_ptr<Microphone> openPulseMicrophone();

}  // namespace cabinaudio::server
