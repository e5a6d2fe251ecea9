// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::server {

/// Input of a sound card or a sound server. Blocks; used by one thread.
class Microphone {
public:
    static constexpr std::uint32_t RATE = 48000;
    static constexpr unsigned CHANNELS = 2;

    virtual ~Microphone() = default;

    /// Blocks until `samples` is filled with whole frames. @return an error text, empty on success
    virtual std::string read(std::span<std::int16_t> samples) = 0;

    [[nodiscard]] virtual std::string name() const = 0;
};

/// @throws std::runtime_error with the reason, also when support was not compiled in
std::unique_ptr<Microphone> openAlsaMicrophone();
std::unique_ptr<Microphone> openPulseMicrophone();

}  // namespace cabinaudio::server
