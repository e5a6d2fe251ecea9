// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/outputs/Output.h"

#include <memory>
#include <string>

namespace cabinaudio::server {

/// Checks the text of an output. @return an error text, empty on success
std::string checkOutput(const std::string& text);

/// Whether the output accepts data at any speed. `auto` does not: it may find a sound card.
bool runsWithoutClock(const std::string& text);

/// Opens "auto", "pulse", "alsa[:DEVICE]", "wav:FILE" or "null".
/// @throws std::runtime_error with the reason
std::unique_ptr<Output> makeOutput(const std::string& text, const OutputFormat& format);

}  // namespace cabinaudio::server
