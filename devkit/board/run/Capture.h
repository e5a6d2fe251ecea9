// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::run {

/// Begins the capture of `--trace`: an existing file is replaced. Passes its path and `withSound`
/// to the program in the environment.
/// @throws Refusal when the file cannot be written
void beginCapture(const std::string& file, bool withSound);

/// Whether a launcher further out has begun a capture, which the program continues.
[[nodiscard]] bool isInCapture();

}  // namespace cabinaudio::run
