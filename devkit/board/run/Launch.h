// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Options.h"

namespace cabinaudio::run {

/// Becomes the program. Returns never.
/// @throws Refusal
[[noreturn]] void launch(const Options& options);

/// Removes what the instance has left behind.
void clean(const Options& options);

}  // namespace cabinaudio::run
