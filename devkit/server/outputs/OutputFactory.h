// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/outputs/Output.h"

#include <memory>
#include <string>

namespace cabinaudio::server {

/// What is wrong with the text of an output; empty if nothing.
std::string checkOutput(const std::string& text);

/// Whether the output takes data at any speed. `auto` does not: a sound card may be found.
bool runsWithoutClock(const std::string& text);

/// Opens "auto", "pulse", "alsa[:DEVICE]", "wav:FILE" or "null".
/// @throws std::runtime_error saying what failed
std::unique_ptr<Output> makeOutput(const std::string& text, const OutputFormat& format);

}  // namespace cabinaudio::server
