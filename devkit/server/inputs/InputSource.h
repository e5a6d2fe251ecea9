// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/cards/DeviceHealth.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace cabinaudio::server {

/// The device behind an input.
struct InputDevice {
    std::string name;
    DeviceState state;
};

/// An endless sound that capture streams record. Called on the event loop's thread; may block only
/// for file access.
class InputSource {
public:
    virtual ~InputSource() = default;

    [[nodiscard]] virtual std::uint32_t rate() const = 0;
    [[nodiscard]] virtual unsigned channels() const = 0;

    /// Fills `frames`, whole frames, with samples between -1 and 1.
    virtual void read(std::span<float> frames) = 0;

    /// Empty for inputs without a device.
    [[nodiscard]] virtual std::optional<InputDevice> device() const { return std::nullopt; }
};

// The kinds of input. Each function throws std::runtime_error with the reason when it fails.

/// A sine of half full scale, one channel.
std::unique_ptr<InputSource> makeTone(double frequency, std::uint32_t rate);
std::unique_ptr<InputSource> makeSilence(std::uint32_t rate);
/// Any file that libsndfile reads and that can be rewound.
std::unique_ptr<InputSource> openInputFile(const std::string& path);
/// The first of pulse and alsa that works. One that is not open after `patience` is silent until it
/// is open.
std::unique_ptr<InputSource> openMicrophone(std::chrono::milliseconds patience);
/// `source` converted to another rate and number of channels.
std::unique_ptr<InputSource> convertInput(std::unique_ptr<InputSource> source, std::uint32_t rate,
                                          unsigned channels);

}  // namespace cabinaudio::server
