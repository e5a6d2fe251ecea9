// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/inputs/InputSource.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace cabinaudio::server {

/// The input of capture streams: one text for all of them, and others for single tags. A text is
/// "tone:HZ", "silence", "mic" or the name of a sound file.
class InputChoice {
public:
    /// Takes "WHAT" or "TAG=WHAT"; a later choice replaces an earlier one. @return an error text,
    /// empty on success
    std::string add(const std::string& text);

    [[nodiscard]] const std::string& of(std::uint32_t tag) const;

    /// Opens each chosen input once, so that errors show at the start.
    /// @throws std::runtime_error with the reason
    void check() const;

private:
    std::string mForAll = "tone:440";
    std::map<std::uint32_t, std::string> mByTag;
};

/// Longest time that the event loop waits for a microphone.
inline constexpr std::chrono::milliseconds MICROPHONE_PATIENCE{50};

/// Opens an input, at its beginning, with this rate and number of channels.
/// @throws std::runtime_error with the reason
std::unique_ptr<InputSource> openInput(const std::string& text, std::uint32_t rate,
                                       unsigned channels,
                                       std::chrono::milliseconds patience = MICROPHONE_PATIENCE);

}  // namespace cabinaudio::server
